#pragma once

#include <cstdint>
#include <functional>

#include "base/lifetime.h"
#include "base/log.h"
#include "platform/idle_time.h"
#include "platform/preferences.h"
#include "platform/scheduler.h"
#include "triggers/idle_check_in_rules.h"

namespace brindle {

/// Treats the first touch after an absence like an unlock. Main thread only.
class IdleCheckIn {
 public:
  static constexpr std::string_view minutesKey = "checkIn.minutes";
  static constexpr std::int64_t longestMinutes = 24 * 60;

  /// The guard as this needs it.
  struct Guard {
    std::function<bool()> on;
    std::function<bool()> screenLocked;
    std::function<bool()> handlingUnlock;  ///< somebody is asked already
    std::function<void()> returned;        ///< report "idle-return"
  };
  struct Parts {
    IdleTime& idle;
    Preferences& defaults;
    Scheduler& scheduler;
    Log log;
  };
  /// Ticks from the first `follow` on.
  explicit IdleCheckIn(Parts parts);
  /// Begins to follow the guard; without one it only keeps the setting.
  void follow(Guard guard);

  std::int64_t minutes() const;  ///< 0: off
  /// False: out of range, or it could not be stored; it stays as it was.
  [[nodiscard]] bool setMinutes(std::int64_t minutes);
  bool available() const { return parts_.idle.available(); }
  IdleCheckInRules::State state() const { return state_; }

 private:
  void reschedule();
  void tick();
  void tick(std::optional<Duration> idle);

  Parts parts_;
  std::optional<Guard> store_;
  IdleCheckInRules::State state_ = IdleCheckInRules::State::watching;
  Timer timer_;
  Subscription availability_;
  Lifetime lifetime_;
};

}  // namespace brindle
