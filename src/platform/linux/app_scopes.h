#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/posix/descriptor.h"
#include "platform/posix/main_loop.h"

namespace brindle {

/// The application identifiers that a unit's name may stand for, the longest first: desktops put
/// their own name before it, and not all of them escape the dashes of the identifier
/// (systemd, "Desktop Environment Integration"). Empty for a unit of no application.
std::vector<std::string> appIdsOfUnit(std::string_view unit);

/// Programs that the desktop starts as applications: each gets a unit of its own under the user's
/// service manager, whose folder in the cgroup file system shows as it is made. Starts only, but on
/// every display system; not of programs that a terminal or an older message bus starts.
class AppScopes {
 public:
  using Started = std::function<void(const std::string& unit)>;

  /// Tells from the main loop of units that come after this.
  AppScopes(MainLoop& loop, const std::string& folder, Started started);
  AppScopes(const AppScopes&) = delete;
  AppScopes& operator=(const AppScopes&) = delete;

  /// Where the service manager of this user keeps its applications; empty without cgroup v2.
  static std::string sessionFolder();
  /// False while there is no such folder, or it cannot be watched.
  bool works() const;

 private:
  void drain();
  void watch(const std::string& folder);
  /// `name` is, or came, where the session's own folder belongs.
  void beside(const std::string& name);
  void left(const std::string& folder);
  void came(const std::string& folder, const std::string& name);
  /// Those that are there already when a slice is first seen.
  void tellPresent(const std::string& slice);

  const std::string folder_;
  Descriptor inotify_;
  std::map<int, std::string> folders_;
  Started started_;
  Subscription watch_;
};

}  // namespace brindle
