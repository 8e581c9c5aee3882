#pragma once

#include <deque>
#include <mutex>

#include "platform/scheduler.h"
#include "platform/timer_queue.h"

namespace brindle {

/// A main loop whose time moves only when it is told to. Whoever drives it is the main thread.
class VirtualScheduler final : public Scheduler {
 public:
  VirtualScheduler();
  explicit VirtualScheduler(WallTime start) : wallBase_(start) {}

  Duration awakeTime() const override { return awake_; }
  WallTime wallTime() const override;
  void post(Task task) override;
  [[nodiscard]] Timer after(Duration delay, Task task) override;
  [[nodiscard]] Timer every(Duration interval, Task task) override;
  [[nodiscard]] Timer atWallTime(WallTime due, Task task) override;

  /// Both clocks go on by `time`; each due task runs at its own moment.
  void advance(Duration time);
  /// The machine sleeps: only the wall clock goes on. On wake, what was slept over runs.
  void sleepFor(Duration time);
  /// The clock is set; wall timers that are due by the new time run.
  void setWallTime(WallTime time);
  /// Runs everything that is due now.
  void run() { advance(Duration::zero()); }
  /// Runs posted tasks, and those they post, but no timers.
  void runPosted();

  /// Timers still armed, and tasks posted but not run.
  std::size_t pending() const { return timers_.armed(); }
  std::size_t posted() const;
  /// How long the machine has slept so far.
  Duration slept() const { return slept_; }

 private:
  bool runOnePosted();
  std::optional<Duration> nextDue() const;
  void moveTo(Duration awake);

  TimerQueue timers_;
  mutable std::mutex mutex_;
  std::deque<Task> posted_;
  Duration awake_{0};
  Duration slept_{0};
  WallTime wallBase_;      // what the wall clock showed when it was last set
  Duration sinceBase_{0};  // and the time since
  bool running_ = false;
};

}  // namespace brindle
