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

struct Decoded {
  Bytes bytes;
  std::uint32_t unused = 0;  ///< what the last character says beyond the last whole byte
};

std::optional<Decoded> decode(std::string_view text, std::string_view alphabet) {
  Decoded out;
  out.bytes.reserve(text.size() * 3 / 4);
  unsigned bits = 0;
  for (const char c : text) {
    const std::size_t value = alphabet.find(c);
    if (value == std::string_view::npos) return std::nullopt;
    out.unused = out.unused << 6 | static_cast<std::uint32_t>(value);
    bits += 6;
    if (bits < 8) continue;
    bits -= 8;
    out.bytes.push_back(static_cast<std::uint8_t>(out.unused >> bits));
    out.unused &= (1U << bits) - 1;
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
  auto out = decode(text, usual);
  if (!out || out->unused != 0) return std::nullopt;  // two texts would mean the same
  return std::move(out->bytes);
}

std::optional<Bytes> fromBase64url(std::string_view text) {
  if (text.size() % 4 == 1) return std::nullopt;
  auto out = decode(text, forAddresses);
  return out ? std::optional(std::move(out->bytes)) : std::nullopt;
}

}  // namespace brindle
