#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/uuid.h"
#include "platform/calendar.h"

namespace brindle {

/// One chosen start, on chosen days of the week.
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
/// The last start after `after` and not after `now`.
std::optional<WallTime> lastStart(const ScheduleTime& time, const Calendar& calendar,
                                  WallTime after, WallTime now);

struct ReadTimes {
  std::vector<ScheduleTime> times;
  bool complete = true;  ///< false: some record, or all of the text, was unreadable
};
ReadTimes readScheduleTimes(const std::string& json);
std::string writeScheduleTimes(const std::vector<ScheduleTime>& times);

}  // namespace brindle
