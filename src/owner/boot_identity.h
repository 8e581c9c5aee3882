#pragma once

#include "platform/boot_clock.h"
#include "platform/preferences.h"

namespace brindle {

/// The time at which this boot began, the same however often the wall clock is set meanwhile: what
/// the first look within a boot computed is kept together with the boot's own identity.
class BootIdentity {
 public:
  BootIdentity(Preferences& preferences, const BootClock& clock)
      : preferences_(preferences), clock_(clock) {}

  /// Seconds since 1970.
  double bootTime();

 private:
  Preferences& preferences_;
  const BootClock& clock_;
  std::string seenId_;  // what could not be stored still holds while this process runs
  double seenTime_ = 0;
};

}  // namespace brindle
