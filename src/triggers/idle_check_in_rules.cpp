#include "triggers/idle_check_in_rules.h"

namespace brindle {

using namespace std::chrono_literals;

IdleCheckInRules::Decision IdleCheckInRules::tick(State state, const Inputs& inputs) {
  if (!inputs.applies()) return {State::watching, false};
  if (inputs.idle >= std::chrono::minutes(inputs.minutes)) return {State::away, false};
  return {State::watching, state == State::away};
}

// The first touch after an absence has to be caught within a second.
Duration IdleCheckInRules::interval(State state) { return state == State::away ? 1s : 15s; }

}  // namespace brindle
