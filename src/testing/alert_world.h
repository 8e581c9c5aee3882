#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>

#include "platform/memory/background_transfer_memory.h"
#include "service/alert_sender.h"
#include "testing/service_world.h"

namespace brindle {

/// An alert sender on memory backends and virtual time, with a scripted service at the far end. The
/// program can be killed and launched again; files and the system's transfers stay.
class AlertWorld : public ServiceWorld {
 public:
  AlertWorld() {
    transfer.setServer(service.server());
    for (const char* folder : {"/home/Brindle/photos", "/tmp"}) (void)files.makeFolder(folder);
    for (const char* name : {"a.jpg", "b.jpg"}) {
      const std::string path = "/home/Brindle/photos/" + std::string(name);
      (void)files.writeWhole(path, viewOf("jpeg of " + std::string(name)));
    }
    launch();
  }
  ~AlertWorld() { kill(); }
  void launch() {
    worker = std::make_unique<VirtualWorkerQueue>(scheduler);
    sender = std::make_unique<AlertSender>(
        AlertSender::Parts{scheduler, *worker, files, transfer, client, account, preferences,
                           machine, random, Log(lines), outbox, "/home/Brindle/photos", "/tmp"});
    sender->start();
    results = sender->onResult([this](const Uuid& id, AlertState how) { ended[id] = how; });
    scheduler.run();
  }
  /// The process ends without a word.
  void kill() {
    transfer.detach();
    sender.reset();
    worker.reset();
  }
  void relaunch() {
    kill();
    launch();
  }
  template <class Report>
  std::optional<HandOver> handOver(const Report& report) {
    const auto how = std::make_shared<std::optional<HandOver>>();
    sender->handOver(report, [how](HandOver what) { *how = what; });
    EXPECT_FALSE(*how) << "never inline";
    scheduler.run();
    return *how;
  }
  std::ptrdiff_t bodies() {
    const auto names = files.list(outbox).value_or(std::vector<std::string>{});
    return std::ranges::count_if(names,
                                 [](const auto& name) { return alertBodyId(name).has_value(); });
  }
  std::size_t arrived() const { return service.to("api/alert").size(); }

  const std::string outbox = "/home/Brindle/outbox-alerts";
  MemoryBackgroundTransfer transfer{scheduler, files, std::string(AlertSender::sessionIdentifier)};
  std::map<Uuid, AlertState> ended;
  std::unique_ptr<VirtualWorkerQueue> worker;
  std::unique_ptr<AlertSender> sender;
  Subscription results;
};

}  // namespace brindle
