#pragma once

#include <chrono>
#include <optional>

#include "platform/calendar.h"

namespace brindle::local_clock {

// What every calendar reckons alike, once it is known how far ahead of UTC local time is at a
// moment. `offsetAt` tells that: a function from WallTime to a duration.

/// What a clock shows that was set by UTC.
inline LocalTime shownAs(WallTime shown) {
  using namespace std::chrono;
  const auto day = floor<days>(shown);
  const hh_mm_ss time(floor<seconds>(shown - day));
  return {year_month_day(day), static_cast<int>(weekday(day).c_encoding()) + 1,
          static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
          static_cast<int>(time.seconds().count())};
}

/// The first moment at which the clock shows this, or has jumped past it. Between the two moments
/// that are looked at, the offset changes once at most: no zone changes it twice within two days.
template <class OffsetAt>
WallTime whenShown(WallTime shown, OffsetAt offsetAt) {
  constexpr auto furthest = std::chrono::hours(24);  // more than any zone is away from UTC
  const auto before = offsetAt(shown - furthest);
  const auto after = offsetAt(shown + furthest);
  WallTime jumped = shown - before;
  if (before == after || offsetAt(jumped) == before) return jumped;
  WallTime still = shown - after;
  if (offsetAt(still) == after) return still;
  // It is skipped: the moment of the jump lies between the two readings of it.
  while (jumped - still > WallTime::duration(1)) {
    const WallTime middle = still + (jumped - still) / 2;
    (offsetAt(middle) == before ? still : jumped) = middle;
  }
  return jumped;
}

/// As `whenShown`; none where the clock jumps over the whole day.
template <class OffsetAt>
std::optional<WallTime> whenShownOnItsDay(WallTime shown, OffsetAt offsetAt) {
  using std::chrono::days;
  const WallTime found = whenShown(shown, offsetAt);
  const WallTime day = std::chrono::floor<days>(shown);
  if (found + offsetAt(found) < day + days(1)) return found;
  if (whenShown(day, offsetAt) < found) return found;
  return std::nullopt;
}

template <class OffsetAt>
std::optional<WallTime> at(std::chrono::year_month_day day, int hour, int minute,
                           OffsetAt offsetAt) {
  if (!day.ok() || hour < 0 || hour > 23 || minute < 0 || minute > 59) return std::nullopt;
  return whenShownOnItsDay(WallTime(std::chrono::sys_days(day)) + std::chrono::hours(hour) +
                               std::chrono::minutes(minute),
                           offsetAt);
}

}  // namespace brindle::local_clock
