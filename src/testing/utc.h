#pragma once

#include <chrono>

#include "base/times.h"

namespace brindle {

inline WallTime utc(int year, unsigned month, unsigned day, int hour, int minute) {
  const std::chrono::year_month_day on{std::chrono::year(year), std::chrono::month(month),
                                       std::chrono::day(day)};
  return std::chrono::sys_days(on) + std::chrono::hours(hour) + std::chrono::minutes(minute);
}

}  // namespace brindle
