#pragma once

#include <map>

#include "platform/preferences.h"

namespace brindle {

/// Preferences that last as long as the object.
class MemoryPreferences final : public Preferences {
 public:
  std::optional<PreferenceValue> get(std::string_view key) const override {
    const auto found = values_.find(key);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
  }
  [[nodiscard]] bool change(
      const std::vector<std::pair<std::string, std::optional<PreferenceValue>>>& changes) override {
    if (failing_) return false;
    ++changes_;
    for (const auto& [key, value] : changes) {
      values_.erase(key);
      if (value) values_.emplace(key, *value);
    }
    return true;
  }
  std::vector<std::string> keys(std::string_view prefix) const override {
    std::vector<std::string> found;
    for (const auto& [key, value] : values_) {
      if (key.starts_with(prefix)) found.push_back(key);
    }
    return found;
  }
  ServiceReport report() const override {
    return {"preferences", "memory", !failing_, failing_ ? "told to fail" : "kept in memory"};
  }

  /// While set, nothing can be stored.
  void setFailing(bool failing) { failing_ = failing; }
  /// How many changes were stored.
  int changes() const { return changes_; }

 private:
  std::map<std::string, PreferenceValue, std::less<>> values_;
  bool failing_ = false;
  int changes_ = 0;
};

}  // namespace brindle
