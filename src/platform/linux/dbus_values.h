#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include <map>
#include <optional>
#include <string>

namespace brindle {

// Helpers for reading messages; for sources that talk D-Bus, not for headers.

using DbusProperties = std::map<std::string, sdbus::Variant>;

/// Reads the message's values in order; false when it holds something else.
template <class... T>
bool unpack(sdbus::Message& message, T&... values) {
  try {
    ((message >> values), ...);
    return static_cast<bool>(message);
  } catch (const sdbus::Error&) {
    return false;
  }
}

/// The property, if it is there and of that type.
template <class T>
std::optional<T> property(const DbusProperties& properties, const std::string& name) {
  const auto found = properties.find(name);
  if (found == properties.end() || !found->second.containsValueOfType<T>()) return std::nullopt;
  return found->second.get<T>();
}

inline constexpr const char* dbusPropertiesInterface = "org.freedesktop.DBus.Properties";

}  // namespace brindle
