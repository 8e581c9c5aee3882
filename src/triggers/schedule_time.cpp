#include "triggers/schedule_time.h"

#include <array>
#include <cstdio>

namespace brindle {
namespace {

using std::chrono::days;
using std::chrono::sys_days;

/// None on a day that was not chosen.
std::optional<WallTime> startOn(const ScheduleTime& time, const Calendar& calendar, sys_days day) {
  const int weekday = static_cast<int>(std::chrono::weekday(day).c_encoding()) + 1;
  if (!time.weekdays.contains(weekday)) return std::nullopt;
  return calendar.at(day, time.hour, time.minute);
}

}  // namespace

std::optional<WallTime> nextStart(const ScheduleTime& time, const Calendar& calendar,
                                  WallTime now) {
  if (!time.isOn || time.weekdays.empty()) return std::nullopt;
  const sys_days today = calendar.local(now).day;
  // The horizon ends on the ninth day from now at the latest, and in a long day on the tenth.
  for (sys_days day = today; day <= today + days(9); day += days(1)) {
    const auto start = startOn(time, calendar, day);
    if (!start || *start <= now) continue;
    return *start <= now + scheduleHorizon ? start : std::nullopt;
  }
  return std::nullopt;
}

std::optional<ScheduleStart> lastStart(const ScheduleTime& time, const Calendar& calendar,
                                       WallTime after, WallTime now) {
  if (!time.isOn || time.weekdays.empty() || after >= now) return std::nullopt;
  // Where the clock is set back over midnight, tomorrow has begun before.
  const sys_days last = sys_days(calendar.local(now).day) + days(1);
  const sys_days first = calendar.local(after).day;
  for (sys_days day = last; day >= first; day -= days(1)) {
    const auto start = startOn(time, calendar, day);
    if (!start || *start > now) continue;
    return *start > after ? std::optional(ScheduleStart{*start, day}) : std::nullopt;
  }
  return std::nullopt;
}

std::string scheduleKey(const ScheduleTime& time, const ScheduleStart& start) {
  std::array<char, 64> key{};
  std::snprintf(key.data(), key.size(), "%s/%04d-%02u-%02u", time.id.upper().c_str(),
                static_cast<int>(start.day.year()), static_cast<unsigned>(start.day.month()),
                static_cast<unsigned>(start.day.day()));
  return key.data();
}

}  // namespace brindle
