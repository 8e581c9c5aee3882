#pragma once

#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace brindle {

/// One table per persisted enum: the stored text of every case, matched exactly.
template <class E, std::size_t N>
struct EnumNames {
  std::array<std::pair<E, std::string_view>, N> names;

  constexpr std::string_view of(E value) const {
    for (const auto& [each, name] : names) {
      if (each == value) return name;
    }
    return {};
  }
  constexpr std::optional<E> parse(std::string_view text) const {
    for (const auto& [value, name] : names) {
      if (name == text) return value;
    }
    return std::nullopt;
  }
};

template <class E, class... Rest>
EnumNames(std::pair<E, std::string_view>, Rest...) -> EnumNames<E, 1 + sizeof...(Rest)>;

}  // namespace brindle
