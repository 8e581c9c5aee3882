#pragma once

#include <chrono>
#include <cmath>
#include <optional>

#include "base/times.h"

namespace brindle {

/// The other form of a stored date: seconds since 1 January 2001, 00:00 UTC, as a number.
inline constexpr WallTime referenceDate{std::chrono::sys_days(std::chrono::January / 1 / 2001)};

inline double secondsSince2001(WallTime time) {
  return std::chrono::duration<double>(time - referenceDate).count();
}

/// Nothing for a number more than about 150 years away: no clock of ours wrote it, and a double
/// keeps microseconds only up to there.
inline std::optional<WallTime> fromSecondsSince2001(double seconds) {
  constexpr double furthest = 5e9;
  if (!(std::abs(seconds) <= furthest)) return std::nullopt;
  return referenceDate + std::chrono::microseconds(std::llround(seconds * 1e6));
}

}  // namespace brindle
