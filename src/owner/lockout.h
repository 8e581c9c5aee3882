#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "base/log.h"
#include "owner/boot_identity.h"
#include "platform/scheduler.h"

namespace brindle {

/// How long a proof is locked after its n-th wrong try in a row; none before the 5th.
std::chrono::seconds lockTime(std::int64_t failures);

/// The wrong tries of one proof and the lock they lead to, kept in preferences under the proof's
/// prefix. Main thread only.
class Lockout {
 public:
  Lockout(std::string prefix, Preferences& preferences, const Scheduler& scheduler,
          const BootClock& clock, BootIdentity& boot, Log log);

  /// Whole seconds, rounded up; 0 when the proof is not locked.
  int secondsLeft() const;
  std::int64_t failures() const { return state().failures; }
  /// Counts a wrong try. When this returns the count is on disk; where the disk refuses it, the
  /// count is kept in memory and the proof is locked at once, so that no try is free.
  void countWrong();
  void clear();

 private:
  struct State {
    std::int64_t failures = 0;
    double lockedUntil = 0;        // seconds since 1970; 0: not locked
    double lockedUntilUptime = 0;  // seconds of uptime
    double boot = 0;               // seconds since 1970
  };
  State state() const;
  bool store(const State& next);
  std::string key(std::string_view suffix) const { return prefix_ + std::string(suffix); }

  std::string prefix_;
  Preferences& preferences_;
  const Scheduler& scheduler_;
  const BootClock& clock_;
  BootIdentity& boot_;
  Log log_;
  std::optional<State> unsaved_;
};

}  // namespace brindle
