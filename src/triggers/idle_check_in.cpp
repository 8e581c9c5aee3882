#include "triggers/idle_check_in.h"

#include <algorithm>
#include <utility>

namespace brindle {

using State = IdleCheckInRules::State;

IdleCheckIn::IdleCheckIn(Parts parts)
    : idle_(parts.idle), defaults_(parts.defaults), scheduler_(parts.scheduler), log_(parts.log) {}

void IdleCheckIn::follow(Guard guard) {
  store_ = std::move(guard);
  // Somebody else who tells may have begun to count a moment ago, which would look like a touch.
  availability_ = idle_.onAvailable([this] {
    state_ = State::watching;
    reschedule();
  });
  reschedule();
}

std::int64_t IdleCheckIn::minutes() const {
  return std::clamp<std::int64_t>(defaults_.integer(minutesKey).value_or(0), 0, longestMinutes);
}

bool IdleCheckIn::setMinutes(std::int64_t minutes) {
  if (minutes < 0 || minutes > longestMinutes) return false;
  if (!defaults_.set(minutesKey, minutes)) return false;
  reschedule();
  return true;
}

void IdleCheckIn::reschedule() {
  timer_.cancel();
  if (!store_.on || minutes() < 1 || !available()) {
    state_ = State::watching;
    return;
  }
  timer_ = scheduler_.every(IdleCheckInRules::interval(state_), [this] { tick(); });
}

IdleCheckInRules::Inputs IdleCheckIn::inputs() const {
  return {.minutes = minutes(), .guardOn = store_.on(), .screenLocked = store_.screenLocked()};
}

void IdleCheckIn::tick() {
  // Whether it applies needs no idle time, and a locked desktop is not asked for one.
  if (const auto now = inputs(); !now.applies()) return decide(now);
  if (std::exchange(reading_, true)) return;
  idle_.read(lifetime_.guard([this](std::optional<Duration> idle) {
    reading_ = false;
    // What the guard and the screen are is looked at now: either may have changed meanwhile.
    if (!timer_.armed() || !idle) return;
    auto now = inputs();
    now.idle = *idle;
    decide(now);
  }));
}

void IdleCheckIn::decide(const IdleCheckInRules::Inputs& inputs) {
  const auto decision = IdleCheckInRules::tick(state_, inputs);
  if (decision.state == state_) return;
  state_ = decision.state;
  reschedule();
  if (state_ == State::away) {
    log_.notice("idle check-in: untouched for %{public}ld min", inputs.minutes);
  }
  if (!decision.returned) return;
  const bool handled = store_.handlingUnlock();
  log_.notice("idle check-in: touched again, %{public}s",
              handled ? "an unlock is handled already" : "told the guard");
  if (!handled) store_.returned();
}

}  // namespace brindle
