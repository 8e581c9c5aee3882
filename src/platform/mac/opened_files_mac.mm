#import <Foundation/Foundation.h>

#include <libproc.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <set>
#include <utility>
#include <vector>

#include "platform/mac/last_used_attribute.h"
#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_names.h"

namespace brindle {
namespace {

using FileId = std::pair<std::uint64_t, std::uint64_t>;  // device and inode

std::optional<FileId> identify(const std::string& path) {
  struct stat found {};
  if (lstat(path.c_str(), &found) != 0) return std::nullopt;
  return FileId{static_cast<std::uint32_t>(found.st_dev), found.st_ino};
}

/// What `list` gives into a buffer of the size it asked for, with room for what comes meanwhile.
/// `list` says how many bytes it has, or wrote; nothing below zero is kept.
template <class Entry, class List>
std::vector<Entry> listed(List list) {
  constexpr std::size_t room = 32;
  const int wanted = list(nullptr, 0);
  if (wanted <= 0) return {};
  std::vector<Entry> entries(static_cast<std::size_t>(wanted) / sizeof(Entry) + room);
  const int size = static_cast<int>(entries.size() * sizeof(Entry));
  const int written = list(entries.data(), size);
  entries.resize(written > 0 ? static_cast<std::size_t>(written) / sizeof(Entry) : 0);
  return entries;
}

std::string executableOf(pid_t process) {
  std::array<char, PROC_PIDPATHINFO_MAXSIZE> path{};
  const int length = proc_pidpath(process, path.data(), static_cast<std::uint32_t>(path.size()));
  return {path.data(), length > 0 ? static_cast<std::size_t>(length) : 0};
}

/// The file behind a descriptor of another process.
std::optional<FileId> heldFile(pid_t process, const proc_fdinfo& descriptor) {
  if (descriptor.proc_fdtype != PROX_FDTYPE_VNODE) return std::nullopt;
  vnode_fdinfo file{};
  const int size =
      proc_pidfdinfo(process, descriptor.proc_fd, PROC_PIDFDVNODEINFO, &file, sizeof file);
  if (size != sizeof file) return std::nullopt;
  return FileId{file.pvi.vi_stat.vst_dev, file.pvi.vi_stat.vst_ino};
}

/// Notes what this process holds of the files; several holders make an empty name, because a known
/// program must not hide an unknown one.
void look(pid_t process, const std::set<FileId>& wanted, std::map<FileId, std::string>& holders) {
  const auto descriptors = listed<proc_fdinfo>([process](void* buffer, int size) {
    return proc_pidinfo(process, PROC_PIDLISTFDS, 0, buffer, size);
  });
  for (const proc_fdinfo& descriptor : descriptors) {
    const auto id = heldFile(process, descriptor);
    if (!id || !wanted.contains(*id)) continue;
    std::string program = executableOf(process);
    const auto [at, first] = holders.try_emplace(*id, program);
    if (!first && at->second != program) at->second.clear();
  }
}

/// Those of this person, who alone may be looked at.
std::vector<pid_t> ownProcesses() {
  return listed<pid_t>(
      [](void* buffer, int size) { return proc_listpids(PROC_UID_ONLY, getuid(), buffer, size); });
}

class MacOpenedFiles final : public OpenedFiles {
 public:
  // Links are not followed: what one leads to is no part of what is watched.
  std::optional<WallTime> lastUsed(const std::string& path) override {
    std::array<std::uint8_t, 16> value{};
    const auto size = getxattr(path.c_str(), mac::names::lastUsedDate, value.data(), value.size(),
                               0, XATTR_NOFOLLOW);
    if (size < 0) return std::nullopt;
    return lastUsedDate(ByteView(value).first(static_cast<std::size_t>(size)));
  }

  std::map<std::string, std::string> openers(std::span<const std::string> paths) override {
    std::map<std::string, FileId> ids;
    std::set<FileId> wanted;
    for (const std::string& path : paths) {
      if (const auto id = identify(path)) wanted.insert(ids[path] = *id);
    }
    if (wanted.empty()) return {};
    std::map<FileId, std::string> holders;
    for (const pid_t process : ownProcesses()) {
      if (process != getpid()) look(process, wanted, holders);
    }
    std::map<std::string, std::string> found;
    for (const auto& [path, id] : ids) {
      const auto holder = holders.find(id);
      if (holder != holders.end() && !holder->second.empty()) found.emplace(path, holder->second);
    }
    return found;
  }

  ServiceReport report() const override {
    const bool listing = !ownProcesses().empty();
    return {"opened files", "last-used dates", true,
            listing ? "whoever opens and closes at once, or is not this person, is not found"
                    : "the system does not say which programs hold a file open"};
  }
};

}  // namespace

std::unique_ptr<OpenedFiles> makeMacOpenedFiles() { return std::make_unique<MacOpenedFiles>(); }

}  // namespace brindle
