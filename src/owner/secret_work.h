#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/log.h"
#include "base/secret_text.h"
#include "owner/keychain_items.h"
#include "owner/secret_results.h"
#include "platform/crypto.h"
#include "platform/random.h"

namespace brindle {

/// What the keychain and the derivation have to say to the owner's secrets, without any counting.
/// Worker thread only.
class SecretWork {
 public:
  SecretWork(KeychainItems& items, Crypto& crypto, Random& random, Log log)
      : items_(items), crypto_(crypto), random_(random), log_(log) {}

  struct Judged {
    CheckOutcome outcome = CheckOutcome::unreadable;
    SecretState record = SecretState::unreadable;
    int code = 0;
  };
  /// Compares with the stored record until one candidate matches; a match in the older form is
  /// rewritten in the current one.
  Judged judge(SecretKind which, const std::vector<SecretText>& candidates);

  struct Looked {
    OwnerSecrets::States states;
    std::string question;
    int code = 0;  ///< why something was unreadable
  };
  Looked look();

  /// Whether a PIN is there, or may be.
  bool pinMayBeSet();
  PinSaved savePin(const SecretText& pin);
  /// Only where none is set. `replacing`: or in place of one whose record can't be read.
  PinSaved savePinUnproved(const SecretText& pin, bool replacing);
  /// On failure the question that was there is put back.
  bool saveAnswer(const std::string& question, const SecretText& normalisedAnswer);

 private:
  struct Presence {
    SecretState state = SecretState::unreadable;
    int code = 0;
  };
  Presence presenceOf(std::string_view name);
  void upgrade(SecretKind which, const SecretText& secret);
  bool putBack(const KeychainRead& question);

  KeychainItems& items_;
  Crypto& crypto_;
  Random& random_;
  Log log_;
};

}  // namespace brindle
