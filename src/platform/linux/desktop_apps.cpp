#include "platform/linux/desktop_apps.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>

#include "platform/file_step.h"
#include "platform/files.h"
#include "platform/linux/desktop_entry.h"

namespace brindle {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view extension = ".desktop";

std::vector<std::string> parts(const std::string& text) {
  std::vector<std::string> all;
  for (std::size_t at = 0; at <= text.size();) {
    const auto end = std::min(text.find(':', at), text.size());
    if (end > at) all.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return all;
}

std::string lower(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

std::string realPath(const std::string& path) {
  std::error_code failed;
  const fs::path real = fs::canonical(path, failed);
  return failed ? std::string() : real.string();
}

/// As a shell would find it.
std::string foundProgram(const std::string& word) {
  if (word.find('/') != word.npos) return realPath(word);
  for (const std::string& folder : parts(environmentText("PATH"))) {
    const std::string path = joinPath(folder, word);
    std::error_code failed;
    if (fs::is_regular_file(path, failed)) return realPath(path);
  }
  return {};
}

/// A pipe would be waited for without end, and a device never ends.
bool isReadable(const fs::directory_entry& entry) {
  constexpr std::uintmax_t largest = 1 << 20;
  std::error_code failed;
  return entry.is_regular_file(failed) && entry.file_size(failed) <= largest;
}

std::string contentOf(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The path below its folder, slashes as dashes, without the extension.
std::string idOf(const std::string& path, const std::string& folder) {
  std::string id = path.substr(folder.size());
  id.erase(0, id.find_first_not_of('/'));
  std::replace(id.begin(), id.end(), '/', '-');
  return id.substr(0, id.size() - extension.size());
}

std::optional<std::string> found(const std::map<std::string, std::string>& ids,
                                 const std::string& key) {
  const auto at = ids.find(key);
  return key.empty() || at == ids.end() ? std::nullopt : std::optional(at->second);
}

template <class Programs>
void offer(Programs& programs, const std::string& key, const typename Programs::mapped_type& one) {
  const auto [at, isNew] = programs.try_emplace(key, one);
  if (!isNew && one.words < at->second.words) at->second = one;
}

template <class Programs>
std::optional<std::string> ownerOf(const Programs& programs, const std::string& key) {
  const auto at = programs.find(key);
  return at == programs.end() ? std::nullopt : std::optional(at->second.id);
}

/// Everything below a folder, in the order of the paths: the same applications give the same
/// answers every time.
std::vector<fs::directory_entry> entriesBelow(const std::string& folder) {
  std::vector<fs::directory_entry> entries;
  std::error_code failed;
  fs::recursive_directory_iterator at(folder, fs::directory_options::skip_permission_denied,
                                      failed);
  for (; !failed && at != fs::recursive_directory_iterator(); at.increment(failed)) {
    entries.push_back(*at);
  }
  std::ranges::sort(entries);
  return entries;
}

fs::file_time_type changed(const std::string& folder) {
  std::error_code missing;
  return fs::last_write_time(folder, missing);
}

}  // namespace

DesktopApps::DesktopApps(std::vector<std::string> folders) : folders_(std::move(folders)) {}

std::vector<std::string> DesktopApps::sessionFolders() {
  const std::string shared = environmentText("XDG_DATA_DIRS");
  std::vector<std::string> folders{homeFolder("XDG_DATA_HOME", ".local/share")};
  for (auto& folder : parts(shared.empty() ? "/usr/local/share:/usr/share" : shared)) {
    folders.push_back(std::move(folder));
  }
  for (std::string& folder : folders) folder = joinPath(folder, "applications");
  return folders;
}

void DesktopApps::refresh() {
  const auto same = [](const auto& folder) { return changed(folder.first) == folder.second; };
  if (!index_.folders.empty() && std::ranges::all_of(index_.folders, same)) return;
  index_ = Index{};
  for (const std::string& folder : folders_) read(folder);
}

void DesktopApps::read(const std::string& folder) {
  index_.folders[folder] = changed(folder);
  for (const fs::directory_entry& entry : entriesBelow(folder)) {
    std::error_code failed;
    const std::string path = entry.path().string();
    if (entry.is_directory(failed)) {
      index_.folders[path] = changed(path);
    } else if (path.ends_with(extension) && isReadable(entry)) {
      const std::string id = idOf(path, folder);
      if (index_.apps.contains(id)) continue;
      const auto described = readApplicationEntry(contentOf(path));
      if (described) add(id, path, *described);
    }
  }
}

void DesktopApps::add(const std::string& id, const std::string& path,
                      const ApplicationEntry& entry) {
  auto& app = index_.apps[id];
  if (entry.hidden) return;
  app = AppIdentity{id, entry.name.empty() ? id : entry.name};
  index_.lowerIds.try_emplace(lower(id), id);
  index_.files.try_emplace(realPath(path), id);
  if (!entry.windowClass.empty()) index_.classes.try_emplace(lower(entry.windowClass), id);
  if (!entry.ownsProgram()) return;
  const std::string program = foundProgram(entry.command.front());
  if (program.empty()) return;
  offer(index_.programs, program, {entry.command.size(), id});
  offer(index_.programNames, nameOf(entry.command.front()), {entry.command.size(), id});
}

std::optional<AppIdentity> DesktopApps::byId(const std::string& id) const {
  const auto at = index_.apps.find(id);
  return at == index_.apps.end() ? std::nullopt : at->second;
}

std::optional<AppIdentity> DesktopApps::byFile(const std::string& path) const {
  const auto id = found(index_.files, realPath(path));
  if (id) return byId(*id);
  const std::string name = nameOf(path);
  // A copy of an entry, as people keep on their desktop.
  return name.ends_with(extension) ? byId(name.substr(0, name.size() - extension.size()))
                                   : std::nullopt;
}

std::optional<std::string> DesktopApps::byProgram(const std::string& path) const {
  const std::string real = realPath(path);
  return ownerOf(index_.programs, real.empty() ? path : real);
}

std::optional<std::string> DesktopApps::byProgramName(const std::string& path) const {
  return ownerOf(index_.programNames, nameOf(path));
}

std::optional<std::string> DesktopApps::byWindow(const std::string& instance,
                                                 const std::string& windowClass) const {
  for (const auto* ids : {&index_.classes, &index_.lowerIds}) {
    // Pages that a browser runs as applications have its class and an instance of their own.
    for (const std::string* word : {&instance, &windowClass}) {
      if (auto id = found(*ids, lower(*word))) return id;
    }
  }
  return std::nullopt;
}

}  // namespace brindle
