#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "base/lifetime.h"
#include "platform/scheduler.h"
#include "platform/worker_queue.h"
#include "watch/watch_list_file.h"

namespace brindle {

/// Writes the list after every change without holding the main thread: changes of one turn of the
/// main loop share a save, changes during a running save share one more. A save that failed is
/// tried again with the next change, and after a while without one. Main thread only.
class WatchListSaving {
 public:
  using Done = std::function<void(bool saved)>;

  WatchListSaving(WatchListFile& file, WorkerQueue& worker, Scheduler& scheduler,
                  std::function<std::vector<WatchTarget>()> snapshot,
                  std::function<void()> attempted)
      : file_(file),
        worker_(worker),
        scheduler_(scheduler),
        snapshot_(std::move(snapshot)),
        attempted_(std::move(attempted)) {}

  /// `tried` learns how the first save that holds this change went.
  void changed(Done tried = {});
  /// Once, when everything changed so far is on disk; as often as it fails, not yet.
  void whenRecorded(std::function<void()> done);
  /// Once everything changed so far was written, or could not be.
  void finish(Done done);
  bool saved() const { return !dirty_ && !running_; }

 private:
  void schedule();
  void begin();
  void ended(bool saved);

  WatchListFile& file_;
  WorkerQueue& worker_;
  Scheduler& scheduler_;
  std::function<std::vector<WatchTarget>()> snapshot_;
  std::function<void()> attempted_;
  bool dirty_ = false;    // memory holds what no save has been given
  bool posted_ = false;   // a save begins at the end of this turn
  bool running_ = false;  // the worker has one
  std::size_t failures_ = 0;
  std::vector<Done> tried_, triedRunning_;
  std::vector<std::function<void()>> recorded_, recordedRunning_;
  std::vector<Done> finishers_;
  Timer retry_;
  Lifetime lifetime_;
};

}  // namespace brindle
