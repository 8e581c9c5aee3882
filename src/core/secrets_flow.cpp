#include "core/secrets_flow.h"

#include <utility>

#include "core/arming.h"

namespace brindle {

void SecretsFlow::secretsAre(const States& states, bool armed) {
  states_ = states;
  if (!pinUnreadable()) endReplacing();
  if (!pinUnreadable() && !answerUnreadable()) turnOnRefused_ = stillCantRead_ = false;
  if (states.pin == SecretState::set) {
    endOnboarding();
    if (stateNotice_ == noPINNotice) clearStateNotice();
  }
  if (states.pin == SecretState::unknown || std::exchange(looked_, true)) return;
  beginOnboarding(armed);
}

void SecretsFlow::turnOnEnded(TurnOnOutcome how, const std::optional<std::string>& forbidden) {
  if (how == TurnOnOutcome::noPIN) stateNotice_ = noPINNotice;
  if (how == TurnOnOutcome::termsChanged) stateNotice_ = forbidden;
  if (how == TurnOnOutcome::unreadable) turnOnRefused_ = true;
  if (how != TurnOnOutcome::on) return;
  clearStateNotice();
  turnOnRefused_ = stillCantRead_ = false;
  endReplacing();
  endOnboarding();
}

bool SecretsFlow::beginAsking() { return !std::exchange(askingAgain_, true); }

void SecretsFlow::askingEnded() {
  askingAgain_ = false;
  stillCantRead_ = pinUnreadable() || answerUnreadable();
}

void SecretsFlow::beginOnboarding(bool armed) {
  if (armed || states_.pin != SecretState::notSet || onboardingUnderWay_) return;
  onboardingUnderWay_ = true;
  resumesOnboarding_ = states_.answer == SecretState::set;
}

bool SecretsFlow::beginReplacing(bool armed) {
  return replacingUnreadablePIN_ = !armed && pinUnreadable();
}

}  // namespace brindle
