#include "platform/linux/app_scopes.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/file_step.h"
#include "platform/files.h"
#include "platform/linux/inotify_reading.h"

namespace brindle {
namespace {

constexpr std::string_view prefix = "app-", scope = ".scope", service = ".service",
                           slice = ".slice";
/// Of units in which a message bus starts the programs that it is asked for: "dbus-:1.2-NAME@0".
constexpr std::string_view busPrefix = "dbus-";

/// systemd.unit(5): bytes that a name may not have are written as "\x2d".
std::string unescapedUnit(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned code = 0;
    const std::string_view digits =
        text.substr(i).starts_with("\\x") ? text.substr(i + 2, 2) : std::string_view();
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), code, 16);
    const bool escaped = digits.size() == 2 && error == std::errc() && end == &digits.back() + 1;
    out += escaped ? static_cast<char>(code) : text[i];
    if (escaped) i += 3;
  }
  return out;
}

/// Without the prefix, the kind of unit and the part that makes it unique.
std::string_view stemOf(std::string_view unit) {
  if (!unit.starts_with(prefix) && !unit.starts_with(busPrefix)) return {};
  unit.remove_prefix(unit.find('-') + 1);
  if (unit.ends_with(scope)) {
    const auto dash = unit.rfind('-');
    return dash == unit.npos ? std::string_view() : unit.substr(0, dash);
  }
  if (!unit.ends_with(service)) return {};
  unit.remove_suffix(service.size());
  return unit.substr(0, unit.find('@'));
}

std::string unifiedMount() {
  std::ifstream mounts("/proc/self/mountinfo");
  for (std::string line; std::getline(mounts, line);) {
    if (line.find(" - cgroup2 ") == line.npos) continue;
    std::istringstream words(line);
    std::string word;
    for (int i = 0; i < 5; ++i) words >> word;
    return word;
  }
  return {};
}

}  // namespace

std::vector<std::string> appIdsOfUnit(std::string_view unit) {
  std::vector<std::string> ids;
  for (std::string_view stem = stemOf(unit); !stem.empty();) {
    ids.push_back(unescapedUnit(stem));
    const auto dash = stem.find('-');
    stem = dash == stem.npos ? std::string_view() : stem.substr(dash + 1);
  }
  return ids;
}

std::string AppScopes::sessionFolder() {
  const std::string mount = unifiedMount();
  const std::string user = std::to_string(::getuid());
  return mount.empty()
             ? mount
             : mount + "/user.slice/user-" + user + ".slice/user@" + user + ".service/app.slice";
}

AppScopes::AppScopes(MainLoop& loop, const std::string& folder, Started started)
    : folder_(folder), inotify_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
  if (!inotify_ || folder.empty()) return;
  watch(folderOf(folder));
  beside(nameOf(folder));
  started_ = std::move(started);
  watch_ = loop.watch(inotify_.get(), POLLIN, [this](std::uint32_t) { drain(); });
}

bool AppScopes::works() const {
  return std::ranges::any_of(folders_, [this](const auto& each) { return each.second == folder_; });
}

void AppScopes::watch(const std::string& folder) {
  constexpr std::uint32_t what = IN_CREATE | IN_DELETE | IN_ONLYDIR;
  const int watched = inotify_add_watch(inotify_.get(), folder.c_str(), what);
  if (watched >= 0) folders_[watched] = folder;
}

void AppScopes::tellPresent(const std::string& folder) {
  std::error_code failed;
  std::filesystem::directory_iterator at(folder, failed);
  for (; !failed && at != std::filesystem::directory_iterator(); at.increment(failed)) {
    if (at->is_directory(failed)) came(folder, at->path().filename().string());
  }
}

// The service manager takes the folder away with the last application, and makes it again.
void AppScopes::beside(const std::string& name) {
  if (name != nameOf(folder_)) return;
  watch(folder_);
  tellPresent(folder_);
}

// The cgroup file system does not end the watch of a folder that goes.
void AppScopes::left(const std::string& folder) {
  std::erase_if(folders_, [&](const auto& each) {
    return each.second == folder && inotify_rm_watch(inotify_.get(), each.first) == 0;
  });
}

// A slice holds the units of one application that starts several; what was made in it before it
// was watched is told as if it came now.
void AppScopes::came(const std::string& folder, const std::string& name) {
  const bool isApp = name.starts_with(prefix);
  if (!isApp && !name.starts_with(busPrefix)) return;
  if (isApp && name.ends_with(slice)) {
    watch(joinPath(folder, name));
    tellPresent(joinPath(folder, name));
  } else if (started_) {
    started_(name);
  }
}

void AppScopes::drain() {
  readInotify(inotify_.get(), [this](const inotify_event& event, const std::string& name) {
    const auto at = folders_.find(event.wd);
    if ((event.mask & IN_IGNORED) != 0) {
      folders_.erase(event.wd);
    } else if (at != folders_.end() && !name.empty()) {
      const std::string folder = at->second;
      if ((event.mask & IN_DELETE) != 0) return left(joinPath(folder, name));
      folder == folderOf(folder_) ? beside(name) : came(folder, name);
    }
  });
}

}  // namespace brindle
