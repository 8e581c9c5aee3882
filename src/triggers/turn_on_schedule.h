#pragma once

#include <functional>
#include <string>
#include <vector>

#include "base/lifetime.h"
#include "base/log.h"
#include "core/arm_source.h"
#include "platform/preferences.h"
#include "platform/scheduler.h"
#include "triggers/schedule_time.h"

namespace brindle {

/// Turns the guard on at the times the owner chose, also when the machine slept through one; never
/// off. Main thread only.
class TurnOnSchedule {
 public:
  static constexpr std::string_view timesKey = "schedule.times";
  static constexpr std::string_view lastCheckedKey = "schedule.lastChecked";
  static constexpr std::string_view unreadableKey = "schedule.times.unreadable";

  TurnOnSchedule(Preferences& defaults, Calendar& calendar, Scheduler& scheduler, Log log);

  /// Turns the guard on for a start that is due.
  std::function<void(const Occurrence&)> arm;
  /// Something the owner must know, in words of their own.
  std::function<void(const std::string& notice)> tellOwner;

  /// Reads the times and checks for the first time. Called once, when `arm` is set.
  void start();
  /// As `start`, for a command's own process: reads, and neither checks nor waits.
  void load();
  /// The machine woke, the clock was set, the zone changed, or the timer fired.
  void check();

  const std::vector<ScheduleTime>& times() const { return times_; }
  /// Checks by the old times first. False, and they stay as they were: they could not be stored.
  [[nodiscard]] bool setTimes(std::vector<ScheduleTime> times);
  /// The earliest next start of all.
  std::optional<WallTime> next() const;

 private:
  void rearm();

  Preferences& defaults_;
  Calendar& calendar_;
  Scheduler& scheduler_;
  Log log_;
  std::vector<ScheduleTime> times_;
  Timer timer_;
  Subscription clock_;
  Lifetime lifetime_;
};

}  // namespace brindle
