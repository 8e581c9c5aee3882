#pragma once

#include <functional>

#include "platform/scheduler.h"

namespace brindle {

/// Work off the main thread, one piece at a time, in order. Each queue has its own thread (or, in
/// memory, none: work runs when the virtual scheduler reaches it).
class WorkerQueue {
 public:
  virtual ~WorkerQueue() = default;  ///< waits for the piece under way; later pieces are dropped

  /// Runs `work` on the queue, then `done` on the main thread. Main thread only. `done` may be
  /// empty; guard it with the owner's Lifetime when the owner may go first.
  virtual void run(Task work, Task done) = 0;
  /// Blocks until everything handed in so far has been worked off (not its `done`s). At quit only.
  virtual void finish() = 0;
};

}  // namespace brindle
