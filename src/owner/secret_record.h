#pragma once

#include <optional>
#include <string_view>

#include "platform/crypto.h"
#include "platform/random.h"

namespace brindle {

/// How an entered secret compares with a stored record. `older`: it matches, in the form that is
/// to be replaced. `unknown`: nothing could be derived, so nothing may be concluded.
enum class RecordMatch { no, current, older, unknown };

/// A record in the current form: one version byte (2), a fresh 16-byte salt, and the 32 bytes that
/// PBKDF2 with HMAC-SHA-256 (RFC 8018) derives from the secret in 210,000 iterations. Empty when
/// the system gave no random bytes or no key. Any thread; takes about a tenth of a second.
std::optional<Bytes> buildRecord(Crypto& crypto, Random& random, std::string_view secret);

/// Compares with a record in the current form, or in the older one of 48 bytes: a 16-byte salt and
/// the SHA-256 digest of salt and secret. Any other record matches nothing. Any thread.
RecordMatch matchRecord(Crypto& crypto, ByteView record, std::string_view secret);

}  // namespace brindle
