#include "platform/preferences.h"

namespace brindle {
namespace {

template <class T>
std::optional<T> as(const std::optional<PreferenceValue>& value) {
  if (!value) return std::nullopt;
  if (const T* typed = std::get_if<T>(&*value)) return *typed;
  return std::nullopt;
}

}  // namespace

std::optional<bool> Preferences::boolean(std::string_view key) const { return as<bool>(get(key)); }

std::optional<std::int64_t> Preferences::integer(std::string_view key) const {
  return as<std::int64_t>(get(key));
}

std::optional<double> Preferences::real(std::string_view key) const {
  const auto value = get(key);
  if (const auto whole = as<std::int64_t>(value)) return static_cast<double>(*whole);
  return as<double>(value);
}

std::optional<std::string> Preferences::text(std::string_view key) const {
  return as<std::string>(get(key));
}

bool Preferences::set(std::string_view key, PreferenceValue value) {
  return change({{std::string(key), std::move(value)}});
}

bool Preferences::remove(std::string_view key) {
  return change({{std::string(key), std::nullopt}});
}

}  // namespace brindle
