#include "platform/linux/awake_clock.h"

#include <ctime>

#include "platform/linux/boot_clock_linux.h"

namespace brindle {

AwakeClock AwakeClock::of(const Scheduler& scheduler) {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const Duration awake = std::chrono::seconds(now.tv_sec) + Duration(now.tv_nsec);
  return {LinuxBootClock().bootId(), awake - scheduler.awakeTime()};
}

}  // namespace brindle
