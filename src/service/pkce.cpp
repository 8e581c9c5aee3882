#include "service/pkce.h"

#include <array>

#include "base/base64.h"

namespace brindle {
namespace {

std::optional<Sha256> sha256Of(Crypto& crypto, std::string_view text) {
  Sha256 hash{};
  const std::array<ByteView, 1> all{viewOf(text)};
  return crypto.sha256(all, hash) ? std::optional(hash) : std::nullopt;
}

}  // namespace

std::optional<std::string> randomToken(Random& random) {
  std::array<std::uint8_t, 32> bytes{};
  return random.fill(bytes) ? std::optional(base64url(bytes)) : std::nullopt;
}

std::optional<std::string> codeChallenge(Crypto& crypto, std::string_view verifier) {
  const auto hash = sha256Of(crypto, verifier);
  return hash ? std::optional(base64url(*hash)) : std::nullopt;
}

std::optional<std::string> sha256Hex(Crypto& crypto, std::string_view text) {
  const auto hash = sha256Of(crypto, text);
  if (!hash) return std::nullopt;
  static constexpr std::string_view digits = "0123456789abcdef";
  std::string hex;
  for (const std::uint8_t byte : *hash) hex += {digits[byte >> 4], digits[byte & 15]};
  return hex;
}

}  // namespace brindle
