#pragma once

#include <string>

#include "platform/memory/files_memory.h"
#include "platform/memory/http_memory.h"
#include "platform/memory/machine_memory.h"
#include "platform/memory/preferences_memory.h"
#include "platform/memory/random_memory.h"
#include "service/service_client.h"
#include "testing/recording_log.h"
#include "testing/scripted_service.h"
#include "testing/virtual_scheduler.h"
#include "testing/virtual_worker_queue.h"

namespace brindle {

/// Whose account a test has on this machine.
class SignedIn final : public SessionSource {
 public:
  explicit SignedIn(Scheduler& scheduler) : scheduler_(scheduler) { signIn("eva"); }
  const std::optional<Session>& session() const override { return session_; }
  std::string accountEmail() const override { return email_; }
  [[nodiscard]] Subscription onSessionChange(std::function<void()> changed) override {
    return listeners_.add(std::move(changed));
  }
  void signIn(const std::string& email) { signIn(email, "token of " + email); }
  void signIn(const std::string& email, const std::string& token) {
    be(email, Session{token, email, "Email", {}, {}});
  }
  void signOut() { be({}, std::nullopt); }
  /// Signed in, but the keychain does not give out the session.
  void lock(const std::string& email) { be(email, std::nullopt); }

 private:
  void be(std::string email, std::optional<Session> session) {
    email_ = std::move(email);
    session_ = std::move(session);
    scheduler_.post([all = listeners_] { all.tell(); });
  }
  Scheduler& scheduler_;
  std::string email_;
  std::optional<Session> session_;
  Listeners<> listeners_;
};

/// What a client of the service is built on, in memory and on virtual time, and the service itself.
struct ServiceWorld {
  explicit ServiceWorld(std::uint64_t seed = 1) : random(seed) { http.setServer(service.server()); }

  VirtualScheduler scheduler;
  MemoryFiles files;
  ScriptedService service{scheduler};
  MemoryHttp http{scheduler, files};
  SignedIn account{scheduler};
  ServiceClient client{http, account, "https://service.test/"};
  MemoryPreferences preferences;
  MemoryMachine machine;
  MemoryRandom random;
  RecordingLog lines;
};

}  // namespace brindle
