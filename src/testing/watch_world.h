#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/memory/background_transfer_memory.h"
#include "platform/memory/files_memory.h"
#include "platform/memory/machine_memory.h"
#include "platform/memory/preferences_memory.h"
#include "platform/memory/process_activity_memory.h"
#include "platform/memory/random_memory.h"
#include "platform/memory/system_power_memory.h"
#include "service/alert_watch.h"
#include "testing/recording_log.h"
#include "testing/scripted_service.h"
#include "testing/virtual_scheduler.h"
#include "testing/virtual_worker_queue.h"

namespace brindle {

/// Somebody who can be signed in and out by hand.
class ScriptedSessions final : public SessionSource {
 public:
  explicit ScriptedSessions(Scheduler& scheduler) : scheduler_(scheduler) {}
  const std::optional<Session>& session() const override { return session_; }
  [[nodiscard]] Subscription onSessionChange(std::function<void()> changed) override {
    return listeners_.add(std::move(changed));
  }
  void signIn(const std::string& email, const std::string& token) {
    session_ = Session{token, email, "Email", {}, {}};
    scheduler_.post([this] { listeners_.tell(); });
  }
  void signOut() {
    session_.reset();
    scheduler_.post([this] { listeners_.tell(); });
  }

 private:
  Scheduler& scheduler_;
  std::optional<Session> session_;
  Listeners<> listeners_;
};

/// An alert watch on memory backends and virtual time, with a scripted service at the far end. The
/// program can be killed and launched again; preferences, files and the system's transfers stay.
class WatchWorld {
 public:
  explicit WatchWorld(std::uint64_t seed = 1) : random(seed) {
    http.setServer(service.server());
    background.setServer(service.server());
    sessions.signIn("owner@example.org", "token-1");
    options.outboxFolder = "/data/outbox";
    options.photosFolder = "/data/photos";
    options.temporaryFolder = "/tmp/brindle";
    options.jitter = [this] { return jitter; };
    options.proving = [this](const Uuid&) { return proving; };
  }
  ~WatchWorld() { kill(); }

  AlertWatch& launch(AlertWatch::Start start = {}) {
    worker = std::make_unique<VirtualWorkerQueue>(scheduler);
    watch = std::make_unique<AlertWatch>(
        AlertWatch::Parts{scheduler, preferences, files, *worker, client, background, power,
                          activity, machine, random, sessions, Log(*sink)},
        options);
    if (prepare) prepare(*watch);
    watch->start(start);
    scheduler.run();
    return *watch;
  }
  /// The process ends without a word.
  void kill() {
    background.detach();
    watch.reset();
    worker.reset();
  }
  Uuid unlock(const std::string& kind = "unlock") {
    const Uuid event = random.newUuid();
    watch->pending({event, scheduler.wallTime(), kind, 0, {}, {}});
    return event;
  }
  void takePhoto(const Uuid& event) {
    static_cast<void>(files.makeFolder("/data/photos"));
    static_cast<void>(files.writeWhole("/data/photos/first.jpg", viewOf("a photo")));
    watch->firstPhoto(event, "first.jpg");
    scheduler.run();
  }
  /// Routes of the requests so far, in the order of their arrival on one channel.
  std::vector<std::string> routes(bool immediate = true) const {
    std::vector<std::string> all;
    for (const auto& each : service.requests()) {
      if (each.channel.empty() == immediate) all.push_back(each.path.substr(10));
    }
    return all;
  }
  std::vector<std::string> outboxFiles() {
    return files.list(options.outboxFolder).value_or(std::vector<std::string>());
  }

  VirtualScheduler scheduler;
  MemoryPreferences preferences;
  MemoryFiles files;
  MemoryRandom random;
  MemoryMachine machine;
  MemorySystemPower power{scheduler};
  MemoryProcessActivity activity;
  ScriptedService service{scheduler};
  MemoryHttp http{scheduler, files};
  MemoryBackgroundTransfer background{scheduler, files,
                                      std::string(AlertWatchSending::sessionIdentifier)};
  ScriptedSessions sessions{scheduler};
  ServiceClient client{http, sessions, "https://service.example"};
  RecordingLog lines;
  AlertWatch::Options options;
  LogSink* sink = &lines;
  std::function<void(AlertWatch&)> prepare;  ///< before each start
  double jitter = 0.5;
  bool proving = false;
  std::unique_ptr<VirtualWorkerQueue> worker;
  std::unique_ptr<AlertWatch> watch;
};

}  // namespace brindle
