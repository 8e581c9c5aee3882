#pragma once

#include "core/owner_secrets.h"

namespace brindle {

/// The two secrets are named by the wrong try they can lead to.
using SecretKind = WrongTry;

/// What became of an entered secret. `locked`: nothing was compared. `unreadable`: the keychain or
/// the derivation gave no answer, and nothing was counted. `busy`: too many tries wait already,
/// this one was not looked at.
enum class CheckOutcome { locked, right, wrong, unreadable, busy };

struct SecretCheck {
  CheckOutcome outcome = CheckOutcome::busy;
  int secondsLeft = 0;   ///< of the lock, after this try; 0 when the proof is not locked
  int keychainCode = 0;  ///< why it was unreadable
};

/// What became of saving. `needsProof`: a PIN is set, or may be, and no proof came with the call.
enum class PinSaved { saved, tooEasy, repeatDiffers, needsProof, failed };
enum class AnswerSaved { saved, noQuestion, tooShort, answersDiffer, needsProof, failed };

}  // namespace brindle
