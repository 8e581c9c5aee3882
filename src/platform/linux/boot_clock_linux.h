#pragma once

#include "platform/boot_clock.h"

namespace brindle {

/// The kernel's boot-time clock and boot identity. The session is the one named in the environment
/// at login, or the kernel's audit session; without either it cannot be told.
class LinuxBootClock final : public BootClock {
 public:
  LinuxBootClock();

  Duration uptime() const override;
  WallTime bootTime() const override;
  std::string bootId() const override { return bootId_; }
  std::string sessionId() const override { return sessionId_; }
  ServiceReport report() const override;

 private:
  std::string bootId_;
  std::string sessionId_;
};

}  // namespace brindle
