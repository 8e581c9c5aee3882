#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "base/lifetime.h"
#include "core/photo_vault.h"
#include "platform/scheduler.h"
#include "platform/worker_queue.h"

namespace brindle {

/// Keeps the document in step with memory without ever holding the main thread: changes of one turn
/// of the main loop share a save, changes during a running save share exactly one more. A save that
/// failed is tried again with the next change, and after a while without one. Main thread only.
class StateSaving {
 public:
  /// Before another try after this many failures. What cannot be saved goes with the power, so the
  /// longest wait is a short one.
  static Duration retryWait(std::size_t failures);

  StateSaving(PhotoVault& vault, WorkerQueue& files, Scheduler& scheduler,
              std::function<SavedState()> snapshot)
      : vault_(vault), files_(files), scheduler_(scheduler), snapshot_(std::move(snapshot)) {}

  void changed();
  /// From the main loop, once everything changed so far is on disk. Not called while saving fails.
  void whenRecorded(std::function<void()> done);
  /// From the main loop, once everything changed so far was written, or could not be.
  void finish(std::function<void(bool saved)> done);
  /// Memory and disk are the same.
  bool saved() const { return !dirty_ && !running_; }
  std::size_t failures() const { return failures_; }

 private:
  using Recorded = std::vector<std::function<void()>>;
  void schedule();
  void begin();
  void ended(bool saved);
  void endedBadly();

  PhotoVault& vault_;
  WorkerQueue& files_;
  Scheduler& scheduler_;
  std::function<SavedState()> snapshot_;
  bool dirty_ = false;    // memory holds what no save has been given
  bool posted_ = false;   // a save begins at the end of this turn
  bool running_ = false;  // the worker has one
  std::size_t failures_ = 0;
  Recorded waitForNext_;     // for what the next save will hold
  Recorded waitForRunning_;  // for what the running one holds
  std::vector<std::function<void(bool)>> finishers_;
  Timer retry_;
  Lifetime lifetime_;
};

}  // namespace brindle
