#pragma once

#include <functional>
#include <set>
#include <vector>

#include "base/lifetime.h"
#include "core/photo_vault.h"
#include "core/state_saving.h"
#include "platform/worker_queue.h"

namespace brindle {

/// Files of events on their way to and from the disk, off the main thread and in one order with the
/// saves. A file is on disk before a record names it; a record that no longer names a file is on
/// disk before the file goes. Main thread only.
class EventFiles {
 public:
  EventFiles(PhotoVault& vault, WorkerQueue& files, StateSaving& saving)
      : vault_(vault), files_(files), saving_(saving) {}

  void save(const FileName& name, Bytes bytes, std::function<void(bool written)> done);
  /// Names that are written, or being written, and that no event names yet.
  const std::set<FileName>& underWay() const { return underWay_; }
  /// For files that an event named until now.
  void removeOnceRecorded(std::vector<FileName> names);
  /// For files that no event ever named.
  void remove(std::vector<FileName> names);
  /// Everything that none of the events names, once the history is recorded as it is now.
  void removeAllBut(std::function<EventList()> events,
                    std::function<void(PhotoVault::DeletedAll)> done);

 private:
  PhotoVault& vault_;
  WorkerQueue& files_;
  StateSaving& saving_;
  std::set<FileName> underWay_;
  Lifetime lifetime_;
};

}  // namespace brindle
