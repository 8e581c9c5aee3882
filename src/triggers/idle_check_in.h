#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "base/lifetime.h"
#include "base/log.h"
#include "platform/idle_time.h"
#include "platform/preferences.h"
#include "platform/scheduler.h"
#include "triggers/idle_check_in_rules.h"

namespace brindle {

/// Treats the first touch after an absence like an unlock. Whether the guard is on and the screen
/// locked is looked at with each tick, so nobody has to announce it. Main thread only.
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

  /// 0: off. What is stored beyond the longest counts as the longest.
  std::int64_t minutes() const;
  /// False: out of range, or it could not be stored; it stays as it was.
  [[nodiscard]] bool setMinutes(std::int64_t minutes);
  /// Without an idle time nothing ticks, whatever is set.
  bool available() const { return idle_.available(); }
  IdleCheckInRules::State state() const { return state_; }

 private:
  void reschedule();
  void tick();
  /// All but the idle time.
  IdleCheckInRules::Inputs inputs() const;
  void decide(const IdleCheckInRules::Inputs& inputs);

  IdleTime& idle_;
  Preferences& defaults_;
  Scheduler& scheduler_;
  Log log_;
  Guard store_;  ///< empty before `follow`
  IdleCheckInRules::State state_ = IdleCheckInRules::State::watching;
  bool reading_ = false;
  Timer timer_;
  Subscription availability_;
  Lifetime lifetime_;
};

}  // namespace brindle
