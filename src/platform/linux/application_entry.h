#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {

/// What the desktop file of an application says that tells its processes and windows apart
/// (Desktop Entry 1.5, freedesktop.org).
struct ApplicationEntry {
  std::string name;
  std::vector<std::string> command;  ///< words of "Exec" without field codes and a leading env(1)
  std::string windowClass;           ///< "StartupWMClass"
  bool hidden = false;               ///< taken off by the user: as if it were not there

  /// The command's program means this application: it is given no word of its own, as an
  /// interpreter or a starter of sandboxes would be.
  bool ownsProgram() const;
};

/// None when the text describes no application.
std::optional<ApplicationEntry> readApplicationEntry(std::string_view text);

}  // namespace brindle
