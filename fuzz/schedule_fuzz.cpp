// Reads any bytes as the list of turn-on times. Whatever could be read is written as a list that
// reads back whole as the same times, each with a weekday, an hour and a minute that exist.

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "triggers/schedule_time.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace brindle;
  const auto times = readScheduleTimes({reinterpret_cast<const char*>(data), size}).times;
  const auto again = readScheduleTimes(writeScheduleTimes(times));
  if (!again.complete || again.times != times) abort();
  for (const ScheduleTime& each : times) {
    if (each.hour < 0 || each.hour > 23 || each.minute < 0 || each.minute > 59) abort();
    if (each.weekdays.contains(0) || each.weekdays.upper_bound(7) != each.weekdays.end()) abort();
  }
  return 0;
}
