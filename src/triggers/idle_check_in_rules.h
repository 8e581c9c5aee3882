#pragma once

#include <cstdint>

#include "base/times.h"

namespace brindle {

/// When somebody is away, and when they are back.
struct IdleCheckInRules {
  enum class State { watching, away };
  struct Inputs {
    std::int64_t minutes = 0;
    bool guardOn = false;
    bool screenLocked = false;
    Duration idle{};
    bool applies() const { return minutes >= 1 && guardOn && !screenLocked; }
  };
  struct Decision {
    State state = State::watching;
    bool returned = false;  ///< somebody touched the machine after an absence
    bool operator==(const Decision&) const = default;
  };
  static Decision tick(State state, const Inputs& inputs);
  /// The time between two looks.
  static Duration interval(State state);
};

}  // namespace brindle
