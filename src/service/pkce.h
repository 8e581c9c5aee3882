#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/crypto.h"
#include "platform/random.h"

namespace brindle {

/// 32 random bytes as 43 characters that may stand in an address: a code verifier (RFC 7636, 4.1),
/// a state, a nonce. Nothing when the system gives no random bytes.
std::optional<std::string> randomToken(Random& random);

/// The code challenge of a verifier by the method "S256" (RFC 7636, 4.2).
std::optional<std::string> codeChallenge(Crypto& crypto, std::string_view verifier);

/// SHA-256 of a text, two lower-case hexadecimal digits a byte.
std::optional<std::string> sha256Hex(Crypto& crypto, std::string_view text);

}  // namespace brindle
