#pragma once

#include <string_view>

#include "platform/crypto.h"

namespace brindle {

/// The texts that bind every ciphertext to its use; a photo's identifier follows each.
inline constexpr std::string_view photoPurpose = "brindle/photo/v1/";
inline constexpr std::string_view metaPurpose = "brindle/meta/v1/";
inline constexpr std::string_view wrapPurpose = "brindle/wrap/v1/";
/// What a wrap key is derived for. Without the slash: blobs that exist are made this way.
inline constexpr std::string_view wrapInfo = "brindle/wrap/v1";
/// In front of the header: its length, big-endian.
inline constexpr std::size_t headerLengthSize = 4;

/// The key that wraps the content key for one recipient. Its two sides agree by `own` and `peer`,
/// which are one half each of the ephemeral and the recipient's pair.
[[nodiscard]] bool deriveWrapKey(Crypto& crypto, const SecretKey& own, const P256Public& peer,
                                 const P256Public& ephemeral, const P256Public& recipient,
                                 SecretKey& out);

}  // namespace brindle
