#pragma once

#include <optional>
#include <string>

#include "core/guard_status.h"
#include "core/owner_secrets.h"

namespace brindle {

/// What the owner is led through because of the state of their secrets: the first steps, a turn-on
/// that was refused, and the repair of a record that can't be read. Knows no window and asks no
/// keychain; whoever drives it says what came of both.
class SecretsFlow {
 public:
  using States = OwnerSecrets::States;

  const States& states() const { return states_; }
  bool pinUnreadable() const { return states_.pin == SecretState::unreadable; }
  bool answerUnreadable() const { return states_.answer == SecretState::unreadable; }

  /// Begins by itself at the first look of a run that finds no PIN; never while the guard is on:
  /// whoever makes the PIN's record vanish then must not be the one who chooses the next PIN.
  bool onboardingUnderWay() const { return onboardingUnderWay_; }
  /// An earlier run was left after the answer and before the PIN.
  bool resumesOnboarding() const { return onboardingUnderWay_ && resumesOnboarding_; }
  /// There is a PIN, and no way in for the day it is forgotten.
  bool secretAnswerRequested() const {
    return states_.pin == SecretState::set && states_.answer == SecretState::notSet;
  }
  /// The owner chooses a new PIN in place of one whose record can't be read.
  bool replacingUnreadablePIN() const { return replacingUnreadablePIN_; }
  bool turnOnRefused() const { return turnOnRefused_; }
  bool askingAgain() const { return askingAgain_; }
  bool stillCantRead() const { return stillCantRead_; }
  const std::optional<std::string>& stateNotice() const { return stateNotice_; }

  /// The keychain was looked at.
  void secretsAre(const States& states, bool armed);
  /// `forbidden`: the words of whoever forbids it.
  void turnOnEnded(TurnOnOutcome how, const std::optional<std::string>& forbidden = {});
  void clearStateNotice() { stateNotice_.reset(); }
  /// False while it is asked already.
  bool beginAsking();
  void askingEnded();
  void beginOnboarding(bool armed);
  void endOnboarding() { onboardingUnderWay_ = false; }
  /// False while on, or when the record can be read.
  [[nodiscard]] bool beginReplacing(bool armed);
  void endReplacing() { replacingUnreadablePIN_ = false; }

 private:
  States states_;
  std::optional<std::string> stateNotice_;
  bool looked_ = false;
  bool onboardingUnderWay_ = false, resumesOnboarding_ = false, replacingUnreadablePIN_ = false;
  bool turnOnRefused_ = false, askingAgain_ = false, stillCantRead_ = false;
};

}  // namespace brindle
