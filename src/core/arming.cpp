#include "core/arming.h"

#include <algorithm>

namespace brindle {

Arming Arming::on(ArmSource by, WallTime now, const BootClock& clock) {
  return {true, std::move(by), now, static_cast<std::uint64_t>(clock.uptime().count()),
          clock.bootTime()};
}

Arming Arming::from(const SavedState& state) {
  if (!state.armedAt) return {};
  return {true, state.armedBy, state.armedAt, state.armedAtMonotonicNs, state.armedAtBoot};
}

void Arming::writeTo(SavedState& state) const {
  state.armedAt = armedAt;
  state.armedBy = armedBy;
  state.armedAtMonotonicNs = armedAtMonotonicNs;
  state.armedAtBoot = armedAtBoot;
}

TurnOnOutcome judgeTurnOn(bool armed, const OwnerSecrets::States& secrets, bool forbidden) {
  const auto unreadable = [](SecretState state) {
    return state == SecretState::unreadable || state == SecretState::unknown;
  };
  if (armed) return TurnOnOutcome::alreadyOn;
  if (secrets.pin == SecretState::notSet) return TurnOnOutcome::noPIN;
  if (unreadable(secrets.pin) || unreadable(secrets.answer)) return TurnOnOutcome::unreadable;
  return forbidden ? TurnOnOutcome::termsChanged : TurnOnOutcome::on;
}

std::optional<std::string> refusalToTell(const ArmSource& source, TurnOnOutcome outcome,
                                         const std::optional<std::string>& notice) {
  const bool isOn = outcome == TurnOnOutcome::on || outcome == TurnOnOutcome::alreadyOn;
  if (isOn || source == ArmSource::owner()) return std::nullopt;
  if (outcome == TurnOnOutcome::unreadable) {
    return "Brindle can't read its PIN or secret answer, so it stays off.";
  }
  return notice;
}

}  // namespace brindle
