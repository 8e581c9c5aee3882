#include "base/uuid.h"

#include <cstring>

namespace brindle {
namespace {

std::string hexText(const Uuid& id, const char* digits) {
  std::string text;
  text.reserve(36);
  for (std::size_t i = 0; i < id.bytes.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    text += digits[id.bytes[i] >> 4];
    text += digits[id.bytes[i] & 15];
  }
  return text;
}

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool isHyphenPlace(std::size_t i) { return i == 8 || i == 13 || i == 18 || i == 23; }

}  // namespace

std::string Uuid::upper() const { return hexText(*this, "0123456789ABCDEF"); }
std::string Uuid::lower() const { return hexText(*this, "0123456789abcdef"); }

std::optional<Uuid> Uuid::parse(std::string_view text) {
  if (text.size() != 36) return std::nullopt;
  Uuid id;
  std::size_t nibble = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isHyphenPlace(i)) {
      if (text[i] != '-') return std::nullopt;
      continue;
    }
    const int value = hexValue(text[i]);
    if (value < 0) return std::nullopt;
    std::uint8_t& byte = id.bytes[nibble / 2];
    byte = static_cast<std::uint8_t>(nibble % 2 == 0 ? value << 4 : byte | value);
    ++nibble;
  }
  return id;
}

Uuid Uuid::fromRandom(std::array<std::uint8_t, 16> random) {
  random[6] = static_cast<std::uint8_t>((random[6] & 0x0f) | 0x40);
  random[8] = static_cast<std::uint8_t>((random[8] & 0x3f) | 0x80);
  return Uuid{random};
}

}  // namespace brindle

std::size_t std::hash<brindle::Uuid>::operator()(const brindle::Uuid& id) const noexcept {
  std::uint64_t halves[2];
  std::memcpy(halves, id.bytes.data(), sizeof halves);
  return static_cast<std::size_t>(halves[0] ^ (halves[1] * 0x9e3779b97f4a7c15ULL));
}
