#pragma once

#include <optional>
#include <string>

#include "platform/scheduler.h"
#include "service/session.h"

namespace brindle {

/// A session as a test wants it.
class SignedIn final : public SessionSource {
 public:
  explicit SignedIn(Scheduler& scheduler, const std::string& email = "eva@example.org")
      : scheduler_(scheduler) {
    signIn(email);
  }
  const std::optional<Session>& session() const override { return session_; }
  [[nodiscard]] Subscription onSessionChange(std::function<void()> changed) override {
    return listeners_.add(std::move(changed));
  }

  void signIn(const std::string& email) {
    be(Session{"token of " + email, email, "Email", {}, {}});
  }
  void signOut() { be(std::nullopt); }

 private:
  void be(std::optional<Session> session) {
    session_ = std::move(session);
    scheduler_.post([all = listeners_] { all.tell(); });
  }
  Scheduler& scheduler_;
  std::optional<Session> session_;
  Listeners<> listeners_;
};

}  // namespace brindle
