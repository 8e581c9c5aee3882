#pragma once

#include "base/times.h"

namespace brindle {

inline WallTime utc(int month, int day, int hour, int minute = 0, int year = 2026) {
  return std::chrono::sys_days(std::chrono::year(year) / month / day) + std::chrono::hours(hour) +
         std::chrono::minutes(minute);
}

}  // namespace brindle
