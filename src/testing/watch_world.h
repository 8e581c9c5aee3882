#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/memory/background_transfer_memory.h"
#include "platform/memory/process_activity_memory.h"
#include "platform/memory/system_power_memory.h"
#include "service/alert_watch.h"
#include "testing/service_world.h"

namespace brindle {

/// An alert watch on memory backends and virtual time, with a scripted service at the far end. The
/// program can be killed and launched again; preferences, files and the system's transfers stay.
class WatchWorld : public ServiceWorld {
 public:
  explicit WatchWorld(std::uint64_t seed = 1) : ServiceWorld(seed) {
    background.setServer(service.server());
    account.signIn("owner@example.org", "token-1");
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
                          activity, machine, random, account, Log(*sink)},
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
  Uuid unlock() {
    const Uuid event = random.newUuid();
    watch->pending({event, scheduler.wallTime(), "unlock", 0, {}, {}});
    return event;
  }
  void takePhoto(const Uuid& event) {
    static_cast<void>(files.makeFolder("/data/photos"));
    static_cast<void>(files.writeWhole("/data/photos/first.jpg", viewOf("a photo")));
    watch->firstPhoto(event, "first.jpg");
    scheduler.run();
  }
  /// Routes of the requests so far on the immediate channel, in the order of their arrival.
  std::vector<std::string> routes() const {
    std::vector<std::string> all;
    for (const auto& each : service.requests()) {
      if (each.channel.empty()) all.push_back(each.path.substr(10));
    }
    return all;
  }
  std::vector<std::string> outboxFiles() {
    return files.list(options.outboxFolder).value_or(std::vector<std::string>());
  }

  MemorySystemPower power{scheduler};
  MemoryProcessActivity activity;
  MemoryBackgroundTransfer background{scheduler, files,
                                      std::string(AlertWatchSending::sessionIdentifier)};
  AlertWatch::Options options;
  LogSink* sink = &lines;
  std::function<void(AlertWatch&)> prepare;  ///< before each start
  double jitter = 0.5;
  bool proving = false;
  std::unique_ptr<VirtualWorkerQueue> worker;
  std::unique_ptr<AlertWatch> watch;
};

}  // namespace brindle
