#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/bytes.h"

namespace brindle {

/// Base64 (RFC 4648, 4) with padding.
std::string base64(ByteView bytes);
/// Nothing when it is not that: every character, the padding and the length count.
std::optional<Bytes> fromBase64(std::string_view text);
/// Base64 for addresses and file names (RFC 4648, 5), without padding.
std::string base64url(ByteView bytes);
/// Strict about characters and length, no padding; unused trailing bits are ignored.
std::optional<Bytes> fromBase64url(std::string_view text);

}  // namespace brindle
