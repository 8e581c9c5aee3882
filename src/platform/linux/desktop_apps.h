#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/application_entry.h"
#include "platform/running_apps.h"

namespace brindle {

/// The applications that are installed for this user, by what their desktop files say.
class DesktopApps {
 public:
  /// Folders of desktop files; what an earlier one has goes before the same identifier later.
  explicit DesktopApps(std::vector<std::string> folders);
  /// Those of this session (XDG Base Directory 0.8).
  static std::vector<std::string> sessionFolders();

  /// To be called before a question: reads everything for the first one, and again if a folder has
  /// changed, as programs are installed meanwhile. An entry changed in place is not noticed.
  void refresh();

  std::optional<AppIdentity> byId(const std::string& id) const;
  /// A desktop file of these folders, also by way of a link to it.
  std::optional<AppIdentity> byFile(const std::string& path) const;
  /// The application that this program is.
  std::optional<std::string> byProgram(const std::string& path) const;
  /// As above, but by the program's name alone: entries name scripts that hand over to a program
  /// of the same name elsewhere.
  std::optional<std::string> byProgramName(const std::string& path) const;
  /// By the two words of WM_CLASS.
  std::optional<std::string> byWindow(const std::string& instance,
                                      const std::string& windowClass) const;

 private:
  using Ids = std::map<std::string, std::string>;
  struct Program {
    std::size_t words = 0;  ///< in the command: the plainest entry is the application's own
    std::string id;
  };
  struct Index {
    std::map<std::string, std::filesystem::file_time_type> folders;  ///< with those below
    std::map<std::string, std::optional<AppIdentity>> apps;          ///< none: hidden
    Ids lowerIds, classes, files;
    std::map<std::string, Program> programs, programNames;
  };

  void read(const std::string& folder);
  void add(const std::string& id, const std::string& path, const ApplicationEntry& entry);

  std::vector<std::string> folders_;
  Index index_;
};

}  // namespace brindle
