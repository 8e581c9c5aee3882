#pragma once

#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "base/lifetime.h"
#include "core/photo_vault.h"
#include "core/state_saving.h"
#include "platform/scheduler.h"
#include "platform/worker_queue.h"

namespace brindle {

/// Files of events on their way to and from the disk, off the main thread and in one order with the
/// saves. A file is on disk before a record names it; a record that no longer names a file is on
/// disk before the file goes. Main thread only.
class EventFiles {
 public:
  /// A file that cannot be written waits in memory for this many more tries, some ten minutes: a
  /// full disk is not the moment to lose the only picture of somebody.
  static constexpr std::size_t mostRetries = 20;
  /// What waits must not eat the machine; more files than these are given up at once.
  static constexpr std::size_t mostWaiting = 64;

  EventFiles(PhotoVault& vault, WorkerQueue& files, Scheduler& scheduler, StateSaving& saving,
             Log log)
      : vault_(vault), files_(files), scheduler_(scheduler), saving_(saving), log_(log) {}

  void save(const FileName& name, Bytes bytes, std::function<void(bool written)> done);
  /// For files that an event named until now.
  void removeOnceRecorded(std::vector<FileName> names);
  /// For files that no event ever named.
  void remove(std::vector<FileName> names);
  /// Everything that none of the events names, once the history is recorded as it is now.
  void removeAllBut(std::function<EventList()> events,
                    std::function<void(PhotoVault::DeletedAll)> done);

 private:
  struct Writing {
    std::shared_ptr<const Bytes> content;
    std::function<void(bool)> done;
    std::size_t failures = 0;
    Timer retry;
  };
  void write(const FileName& name);
  void ended(const FileName& name, bool written);

  PhotoVault& vault_;
  WorkerQueue& files_;
  Scheduler& scheduler_;
  StateSaving& saving_;
  Log log_;
  std::map<FileName, Writing> underWay_;  // no event names these yet
  Lifetime lifetime_;
};

}  // namespace brindle
