#pragma once

#include <functional>
#include <string_view>

#include "base/subscription.h"

namespace brindle {

/// Whether a secret's record is there. `unreadable`: it exists or may exist, but the keychain could
/// not be read. `unknown` until the first answer of the keychain.
enum class SecretState { unknown, notSet, set, unreadable };

/// What the store needs to know of the owner's secrets; the secrets themselves stay with whoever
/// implements this. Main thread only.
class OwnerSecrets {
 public:
  struct States {
    SecretState pin = SecretState::unknown;
    SecretState answer = SecretState::unknown;
    bool operator==(const States&) const = default;
  };

  virtual ~OwnerSecrets() = default;
  /// As last read.
  virtual States states() const = 0;
  /// Asks the keychain again, off the main thread; `done` from the main loop.
  virtual void refresh(std::function<void(States)> done) = 0;
  [[nodiscard]] virtual Subscription onChange(std::function<void(States)> changed) = 0;
};

/// Why the owner is asked to prove themself.
enum class OwnerPurpose { confirmUnlock, turnOff, history, action, quit, alarm };

/// Which proof a wrong try was made with.
enum class WrongTry { pin, answer };
/// "wrong-pin" or "wrong-answer", as other services know them.
std::string_view wrongTryName(WrongTry which);

}  // namespace brindle
