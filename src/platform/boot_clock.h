#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/times.h"
#include "platform/service_report.h"

namespace brindle {

/// Clocks that a person cannot set, and the identities of this boot and login. Any thread.
class BootClock {
 public:
  virtual ~BootClock() = default;

  /// Time since this machine started; goes on while it sleeps. Not affected by setting the clock.
  virtual Duration uptime() const = 0;
  /// Wall-clock time at which the machine started, as computed now: it moves when the clock is set.
  virtual WallTime bootTime() const = 0;
  /// The boot's own random identity; empty when it cannot be told.
  virtual std::string bootId() const = 0;
  /// The login session within this boot; empty when it cannot be told.
  virtual std::string sessionId() const = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
