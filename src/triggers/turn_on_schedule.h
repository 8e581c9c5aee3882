#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/log.h"
#include "core/arm_source.h"
#include "platform/preferences.h"
#include "platform/scheduler.h"
#include "triggers/schedule_time.h"

namespace brindle {

/// Turns the guard on at the times the owner chose, also when the machine slept through one; never
/// off. No start fires twice, even if the clock or the zone is set back over it. Main thread only.
class TurnOnSchedule {
 public:
  static constexpr std::string_view timesKey = "schedule.times";
  static constexpr std::string_view lastCheckedKey = "schedule.lastChecked";
  static constexpr std::string_view unreadableKey = "schedule.times.unreadable";
  /// The starts that fired, by their keys, one a line, the latest last.
  static constexpr std::string_view firedKey = "schedule.fired";
  static constexpr std::string_view someUnreadable =
      "Some of the times at which Brindle turns itself on can't be read and were left out. Look "
      "through the schedule.";
  /// So many of them are known: more than a year of two starts a day.
  static constexpr std::size_t mostFired = 1000;

  TurnOnSchedule(Preferences& defaults, Calendar& calendar, Scheduler& scheduler, Log log);

  /// Turns the guard on for a start that is due.
  std::function<void(const Occurrence&)> arm;
  /// Something the owner must know, in words of their own.
  std::function<void(const std::string& notice)> tellOwner;

  /// Reads the times and checks for the first time. Called once, when `arm` is set.
  void start();
  /// As `start`, for a command's own process: reads, and neither checks nor waits nor sets aside
  /// what is unreadable, which the guard is to tell the owner of.
  void load();
  /// The machine woke, the clock was set, the zone changed, or the timer fired. Nothing before
  /// `start`.
  void check();

  const std::vector<ScheduleTime>& times() const { return times_; }
  /// False: some were unreadable when they were read.
  bool complete() const { return !unreadable_; }
  /// Checks by the old times first, so that a time that was added does not fire for a start that
  /// had passed; without `start`, what the old times missed is left to the guard. False, and they
  /// stay as they were: they could not be stored.
  [[nodiscard]] bool setTimes(std::vector<ScheduleTime> times);
  /// The earliest next start of all.
  std::optional<WallTime> next() const;

 private:
  using Changes = std::vector<std::pair<std::string, std::optional<PreferenceValue>>>;

  void loadTimes();
  void keepUnreadable();
  std::optional<Occurrence> startDue(const ScheduleTime& time, WallTime after, WallTime now) const;
  std::optional<Occurrence> latestDue(WallTime after, WallTime now) const;
  void fire(const Occurrence& occurrence, WallTime now);
  void noteFired(const std::string& key);
  void passOver(const std::vector<ScheduleTime>& times);
  Changes checked() const;
  void rearm();

  Preferences& defaults_;
  Calendar& calendar_;
  Scheduler& scheduler_;
  Log log_;
  bool started_ = false;
  std::vector<ScheduleTime> times_;
  std::optional<PreferenceValue> unreadable_;  ///< the times as they were stored
  /// As stored, and ahead of it while nothing can be stored.
  std::optional<WallTime> lastChecked_;
  std::vector<std::string> fired_;
  Timer timer_;
  Subscription clock_;
};

}  // namespace brindle
