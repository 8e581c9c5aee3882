#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/uuid.h"
#include "platform/calendar.h"

namespace brindle {

/// One chosen start, on chosen days of the week. It fires once a day at most, so one that is moved
/// to another time of day is another one and gets an id of its own.
struct ScheduleTime {
  Uuid id;
  std::set<int> weekdays;  ///< 1 is Sunday, 7 is Saturday
  int hour = 0;
  int minute = 0;  ///< local time
  bool isOn = true;
  bool operator==(const ScheduleTime&) const = default;
};

/// How far ahead a next start is looked for.
inline constexpr std::chrono::seconds scheduleHorizon{691'200};
/// A start older than this is not caught up.
inline constexpr std::chrono::seconds scheduleCatchUp{43'200};

/// The first start strictly after `now`; none within the horizon, or when it is off.
std::optional<WallTime> nextStart(const ScheduleTime& time, const Calendar& calendar, WallTime now);

/// One start of one time.
struct ScheduleStart {
  WallTime at{};
  /// The day it is meant for; `at` is on the next one where the clock jumps over the chosen time
  /// and midnight.
  std::chrono::year_month_day day;
  bool operator==(const ScheduleStart&) const = default;
};
/// The last start after `after` and not after `now`.
std::optional<ScheduleStart> lastStart(const ScheduleTime& time, const Calendar& calendar,
                                       WallTime after, WallTime now);
/// Names one start of one time: "<id>/2026-03-02".
std::string scheduleKey(const ScheduleTime& time, const ScheduleStart& start);

struct ReadTimes {
  std::vector<ScheduleTime> times;
  bool complete = true;  ///< false: some record, or all of the text, was unreadable
};
/// Reading costs an unreadable record only itself; of two with one id the second is unreadable.
ReadTimes readScheduleTimes(std::string_view json);
std::string writeScheduleTimes(const std::vector<ScheduleTime>& times);

}  // namespace brindle
