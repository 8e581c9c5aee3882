#include "platform/linux/boot_clock_linux.h"

#include <cstdlib>
#include <ctime>
#include <fstream>

namespace brindle {
namespace {

Duration readClock(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return std::chrono::seconds(now.tv_sec) + Duration(now.tv_nsec);
}

std::string firstLine(const char* path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

std::string currentSession() {
  if (const char* named = std::getenv("XDG_SESSION_ID"); named && *named) return named;
  const std::string audit = firstLine("/proc/self/sessionid");
  return audit == "4294967295" ? std::string() : audit;  // the kernel's "not set"
}

}  // namespace

LinuxBootClock::LinuxBootClock()
    : bootId_(firstLine("/proc/sys/kernel/random/boot_id")), sessionId_(currentSession()) {}

Duration LinuxBootClock::uptime() const { return readClock(CLOCK_BOOTTIME); }

WallTime LinuxBootClock::bootTime() const {
  const Duration started = readClock(CLOCK_REALTIME) - readClock(CLOCK_BOOTTIME);
  return WallTime(std::chrono::floor<WallTime::duration>(started));
}

ServiceReport LinuxBootClock::report() const {
  const std::string session =
      sessionId_.empty() ? "login session unknown" : "session " + sessionId_;
  return {"boot clock", "Linux kernel", !bootId_.empty(),
          bootId_.empty() ? "the boot's identity cannot be read" : session};
}

}  // namespace brindle
