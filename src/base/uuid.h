#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace brindle {

/// A 128-bit identifier (RFC 9562). New ones come from `newUuid` with an injected generator.
struct Uuid {
  std::array<std::uint8_t, 16> bytes{};

  auto operator<=>(const Uuid&) const = default;

  /// Canonical text with hyphens; upper case is the form used in file names.
  std::string upper() const;
  std::array<char, 36> upperText() const;
  std::string lower() const;
  /// Accepts 8-4-4-4-12 hexadecimal digits in either case, nothing else.
  static std::optional<Uuid> parse(std::string_view text);
  /// A version 4 identifier made of 16 random bytes.
  static Uuid fromRandom(std::array<std::uint8_t, 16> random);
};

}  // namespace brindle

template <>
struct std::hash<brindle::Uuid> {
  std::size_t operator()(const brindle::Uuid& id) const noexcept;
};
