#import <Security/Security.h>
#include <sys/sysctl.h>
#include <sys/time.h>
#include <time.h>

#include <array>
#include <string>

#include "platform/mac/mac_backends.h"

namespace brindle {
namespace {

class MacBootClock final : public BootClock {
 public:
  Duration uptime() const override {
    return std::chrono::nanoseconds(clock_gettime_nsec_np(CLOCK_MONOTONIC_RAW));
  }

  WallTime bootTime() const override {
    timeval started{};
    std::size_t size = sizeof started;
    if (sysctlbyname("kern.boottime", &started, &size, nullptr, 0) == 0) {
      return WallTime(std::chrono::seconds(started.tv_sec) +
                      std::chrono::microseconds(started.tv_usec));
    }
    return std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now() -
                                                         uptime());
  }

  std::string bootId() const override {
    std::array<char, 64> text{};  // 36 characters and the final NUL
    std::size_t size = text.size() - 1;
    if (sysctlbyname("kern.bootsessionuuid", text.data(), &size, nullptr, 0) != 0) return "";
    return text.data();
  }

  std::string sessionId() const override {
    SecuritySessionId session = 0;
    SessionAttributeBits attributes = 0;
    if (SessionGetInfo(callerSecuritySession, &session, &attributes) != errSecSuccess) return "";
    return std::to_string(session);
  }

  ServiceReport report() const override {
    const bool told = !bootId().empty() && !sessionId().empty();
    return {"boot clock", "sysctl and the security session", told,
            told ? "boot and login session are known" : "boot or login session cannot be told"};
  }
};

}  // namespace

std::unique_ptr<BootClock> makeMacBootClock() { return std::make_unique<MacBootClock>(); }

}  // namespace brindle
