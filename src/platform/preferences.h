#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/service_report.h"

namespace brindle {

using PreferenceValue = std::variant<bool, std::int64_t, double, std::string>;

/// Small settings and counters under dotted keys. Main thread only. Reading never blocks; a change
/// is on disk when the call that made it returns true (on macOS: handed to the preferences
/// service).
class Preferences {
 public:
  virtual ~Preferences() = default;

  virtual std::optional<PreferenceValue> get(std::string_view key) const = 0;
  /// Sets and removes several keys as one change: all or none. An absent value removes the key.
  /// False when it could not be stored; reads then still give the earlier values.
  [[nodiscard]] virtual bool change(
      const std::vector<std::pair<std::string, std::optional<PreferenceValue>>>& changes) = 0;
  /// All keys that begin with `prefix`.
  virtual std::vector<std::string> keys(std::string_view prefix) const = 0;
  virtual ServiceReport report() const = 0;

  /// Values of another type than asked for read as absent; an integer serves as a double.
  std::optional<bool> boolean(std::string_view key) const;
  std::optional<std::int64_t> integer(std::string_view key) const;
  std::optional<double> real(std::string_view key) const;
  std::optional<std::string> text(std::string_view key) const;
  [[nodiscard]] bool set(std::string_view key, PreferenceValue value);
  [[nodiscard]] bool remove(std::string_view key);
};

}  // namespace brindle
