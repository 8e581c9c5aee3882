#pragma once

#include <string>

namespace brindle {

/// Where this person's files lie. All folders are private to the user.
struct AppPaths {
  std::string data;         ///< state.json, photos, the instance lock
  std::string preferences;  ///< preferences.json
  std::string runtime;      ///< the socket
  /// Where builds of before the outbox kept what they owed; empty: there were none.
  std::string temporary = {};

  std::string lockFile() const { return data + "/instance.lock"; }
  std::string socketFile() const { return runtime + "/control.sock"; }

  /// Implemented once per system. Linux: after the freedesktop.org base directory rules 0.8;
  /// relative paths in the environment are ignored, as it demands; without a runtime folder the
  /// socket lies in the data folder. macOS: everything in Application Support.
  static AppPaths fromEnvironment();
  /// Everything below one private folder.
  static AppPaths below(const std::string& folder) {
    return {folder + "/Brindle", folder + "/config/Brindle", folder + "/run/brindle"};
  }
};

}  // namespace brindle
