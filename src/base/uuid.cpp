#include "base/uuid.h"

#include <cstring>

namespace brindle {
namespace {

constexpr std::size_t textLength = 36;

/// Where the two digits of each byte stand in 8-4-4-4-12.
constexpr std::array<std::uint8_t, 16> digitPlaces{0,  2,  4,  6,  9,  11, 14, 16,
                                                   19, 21, 24, 26, 28, 30, 32, 34};
constexpr std::array<std::uint8_t, 4> hyphenPlaces{8, 13, 18, 23};

constexpr std::array<std::uint8_t, 256> hexValues = [] {
  std::array<std::uint8_t, 256> values{};
  values.fill(0xff);
  for (std::uint8_t i = 0; i < 10; ++i) values['0' + i] = i;
  for (std::uint8_t i = 0; i < 6; ++i) {
    values['a' + i] = values['A' + i] = static_cast<std::uint8_t>(10 + i);
  }
  return values;
}();

std::array<char, textLength> hexText(const Uuid& id, const char* digits) {
  std::array<char, textLength> text;
  for (const std::uint8_t place : hyphenPlaces) text[place] = '-';
  for (std::size_t i = 0; i < id.bytes.size(); ++i) {
    text[digitPlaces[i]] = digits[id.bytes[i] >> 4];
    text[digitPlaces[i] + 1u] = digits[id.bytes[i] & 15];
  }
  return text;
}

}  // namespace

std::array<char, 36> Uuid::upperText() const { return hexText(*this, "0123456789ABCDEF"); }

std::string Uuid::upper() const {
  const auto text = upperText();
  return {text.data(), text.size()};
}

std::string Uuid::lower() const {
  const auto text = hexText(*this, "0123456789abcdef");
  return {text.data(), text.size()};
}

std::optional<Uuid> Uuid::parse(std::string_view text) {
  if (text.size() != textLength) return std::nullopt;
  for (const std::uint8_t place : hyphenPlaces) {
    if (text[place] != '-') return std::nullopt;
  }
  Uuid id;
  unsigned wrong = 0;
  for (std::size_t i = 0; i < id.bytes.size(); ++i) {
    const unsigned high = hexValues[static_cast<unsigned char>(text[digitPlaces[i]])];
    const unsigned low = hexValues[static_cast<unsigned char>(text[digitPlaces[i] + 1u])];
    wrong |= high | low;
    id.bytes[i] = static_cast<std::uint8_t>(high << 4 | low);
  }
  // No digit's value has a bit above the lowest four.
  return wrong > 15 ? std::nullopt : std::optional(id);
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
