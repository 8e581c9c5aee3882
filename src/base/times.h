#pragma once

#include <chrono>
#include <cstdint>

namespace brindle {

/// All waits and ages. Never a bare number.
using Duration = std::chrono::nanoseconds;

/// A moment of the wall clock, UTC. Microseconds, so that every year a document can hold fits.
using WallTime = std::chrono::sys_time<std::chrono::microseconds>;

inline double secondsOf(Duration d) { return std::chrono::duration<double>(d).count(); }
inline long millisecondsOf(Duration d) {
  return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(d).count());
}
/// Seconds since 1970, as stored in preferences.
inline double secondsSince1970(WallTime t) {
  return std::chrono::duration<double>(t.time_since_epoch()).count();
}

}  // namespace brindle
