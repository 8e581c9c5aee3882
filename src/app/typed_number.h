#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

namespace brindle {

/// A whole number that a person typed; nothing when the word is none, or more than one.
inline std::optional<std::int64_t> typedNumber(std::string_view word) {
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  if (error != std::errc() || end != word.data() + word.size()) return std::nullopt;
  return number;
}

}  // namespace brindle
