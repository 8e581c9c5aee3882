#include "base/base64.h"

#include <array>
#include <cstdint>

namespace brindle {
namespace {

constexpr std::string_view usual =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view forAddresses =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

std::string encode(ByteView bytes, std::string_view alphabet, bool padded) {
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t taken = std::min<std::size_t>(3, bytes.size() - i);
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 3; ++k) group = group << 8 | (k < taken ? bytes[i + k] : 0U);
    for (std::size_t k = 0; k < 4; ++k) {
      if (k <= taken) {
        out += alphabet[group >> (18 - 6 * k) & 63];
      } else if (padded) {
        out += '=';
      }
    }
  }
  return out;
}

}  // namespace

std::string base64(ByteView bytes) { return encode(bytes, usual, true); }

std::string base64url(ByteView bytes) { return encode(bytes, forAddresses, false); }

std::optional<Bytes> fromBase64(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  std::size_t padding = 0;
  while (padding < 2 && text.ends_with('=')) {
    text.remove_suffix(1);
    ++padding;
  }
  Bytes out;
  out.reserve(text.size() * 3 / 4);
  std::uint32_t group = 0;
  unsigned bits = 0;
  for (const char c : text) {
    const std::size_t value = usual.find(c);
    if (value == std::string_view::npos) return std::nullopt;
    group = group << 6 | static_cast<std::uint32_t>(value);
    bits += 6;
    if (bits < 8) continue;
    bits -= 8;
    out.push_back(static_cast<std::uint8_t>(group >> bits));
    group &= (1U << bits) - 1;
  }
  if (group != 0) return std::nullopt;  // bits that no byte has: two texts would mean the same
  return out;
}

}  // namespace brindle
