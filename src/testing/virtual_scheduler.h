#pragma once

#include <deque>
#include <mutex>

#include "platform/scheduler.h"
#include "platform/timer_queue.h"

namespace brindle {

/// A main loop whose time moves only when it is told to. Whoever drives it is the main thread.
class VirtualScheduler final : public Scheduler {
 public:
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

  /// Timers still armed.
  std::size_t pending() const { return timers_.armed(); }
  /// How long the machine has slept so far.
  Duration slept() const { return slept_; }

 private:
  bool runOnePosted();
  std::optional<Duration> nextDue() const;
  void moveTo(Duration awake);

  TimerQueue timers_;
  std::mutex mutex_;
  std::deque<Task> posted_;
  Duration awake_{0};
  Duration slept_{0};
  // What the wall clock showed when it was last set, and the time since. It starts on 2026-03-02, a
  // Monday, 09:00:00 UTC: a moment without any clock change nearby.
  WallTime wallBase_{std::chrono::seconds(1'772'442'000)};
  Duration sinceBase_{0};
  bool running_ = false;
};

}  // namespace brindle
