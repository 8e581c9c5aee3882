#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "base/times.h"

namespace brindle {

using Task = std::function<void()>;

/// Owns one armed wait. Destroying, reassigning or cancelling it cancels the wait, and afterwards
/// its task cannot run. A task may destroy its own timer or the timer's owner. Main thread only.
class Timer {
 public:
  /// What a scheduler keeps per wait; `cancel` may be called after the wait ended.
  class Entry {
   public:
    virtual ~Entry() = default;
    virtual void cancel() = 0;
    virtual bool armed() const = 0;
  };

  Timer() = default;
  explicit Timer(std::shared_ptr<Entry> entry) : entry_(std::move(entry)) {}
  Timer(Timer&& other) noexcept : entry_(std::exchange(other.entry_, nullptr)) {}
  Timer& operator=(Timer&& other) noexcept {
    if (this != &other) {
      cancel();
      entry_ = std::exchange(other.entry_, nullptr);
    }
    return *this;
  }
  ~Timer() { cancel(); }

  void cancel() {
    if (auto entry = std::exchange(entry_, nullptr)) entry->cancel();
  }
  /// False once a one-shot timer's task has begun to run.
  bool armed() const { return entry_ && entry_->armed(); }

 private:
  std::shared_ptr<Entry> entry_;
};

/// The main thread's loop, seen from the logic. All functions but `post` are for the main thread.
/// Nothing runs inline; equal due times run in arming order; a timer never runs early.
class Scheduler {
 public:
  virtual ~Scheduler() = default;

  /// Time since some fixed start; stands still while the machine sleeps.
  virtual Duration awakeTime() const = 0;
  /// The wall clock; may jump either way.
  virtual WallTime wallTime() const = 0;

  /// Runs `task` on the main thread, in posting order. Any thread.
  virtual void post(Task task) = 0;
  /// Once, after `delay` of awake time (a negative delay counts as none).
  [[nodiscard]] virtual Timer after(Duration delay, Task task) = 0;
  /// Again and again, every `interval` of awake time; turns missed while busy are not made up for.
  [[nodiscard]] virtual Timer every(Duration interval, Task task) = 0;
  /// Once the wall clock shows `due` or later: at once if that is past, on wake if it was slept
  /// over, and re-judged whenever the clock is set.
  [[nodiscard]] virtual Timer atWallTime(WallTime due, Task task) = 0;
};

}  // namespace brindle
