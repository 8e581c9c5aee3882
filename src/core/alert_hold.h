#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <unordered_map>

#include "base/uuid.h"
#include "platform/boot_clock.h"
#include "platform/scheduler.h"

namespace brindle {

/// Holds back the report of an occurrence for a while, so that the owner can say that it was them.
/// Time asleep counts: closing the lid must not keep a report back. Main thread only.
class AlertHold {
 public:
  static constexpr std::int64_t defaultSeconds = 30;

  AlertHold(Scheduler& scheduler, BootClock& clock, std::function<void(const Uuid&)> released)
      : scheduler_(scheduler), clock_(clock), released_(std::move(released)) {}

  /// `elapsed` of the delay has gone by already. What remains is rounded up to whole seconds;
  /// nothing is released inline.
  void begin(const Uuid& event, Duration delay, Duration elapsed = Duration::zero());
  /// The owner answered: nothing will be released.
  void end(const Uuid& event) { holds_.erase(event); }
  bool running(const Uuid& event) const { return holds_.contains(event); }
  std::optional<std::int64_t> secondsLeft(const Uuid& event) const;

 private:
  struct Hold {
    Duration holdStart{};
    Duration due{};  ///< uptime, which goes on in sleep
    // Neither timer alone is enough: one stands still in sleep, the other follows a clock that can
    // be set. Whichever comes first looks at the uptime.
    Timer awake;
    Timer wall;
  };
  void arm(const Uuid& event);
  void look(const Uuid& event);

  Scheduler& scheduler_;
  BootClock& clock_;
  std::function<void(const Uuid&)> released_;
  std::unordered_map<Uuid, Hold> holds_;
};

/// How much of the delay is gone by the wall clock, for an event of an earlier run. A date that
/// lies ahead (the clock was set back) has used up nothing.
Duration heldSoFar(WallTime eventDate, WallTime now);

}  // namespace brindle
