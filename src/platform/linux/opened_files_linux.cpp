#include "platform/linux/opened_files_linux.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <memory>
#include <set>
#include <utility>

#include "platform/file_step.h"
#include "platform/linux/own_processes.h"

namespace brindle {
namespace {

struct FileId {
  std::uint64_t device = 0, inode = 0;
  auto operator<=>(const FileId&) const = default;
};

/// Without asking a server: a look must not hang in a mount that is away.
std::optional<FileId> identify(int folder, const char* name) {
  struct statx found {};
  if (statx(folder, name, AT_STATX_DONT_SYNC | AT_NO_AUTOMOUNT, STATX_INO, &found) != 0) return {};
  return FileId{(std::uint64_t{found.stx_dev_major} << 32) | found.stx_dev_minor, found.stx_ino};
}

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};
using Folder = std::unique_ptr<DIR, CloseFolder>;

std::optional<FileId> identify(const std::string& path) { return identify(AT_FDCWD, path.c_str()); }

/// Whether the name of a process's program means here what it means there. Anybody may have mounts
/// and users of one's own, in which any file can have the name of a system's program, and run one
/// from a disk that is taken out afterwards, which leaves the name without the disk's place.
bool isHere(const std::string& process, const std::string& program) {
  for (const char* part : {"/ns/mnt", "/ns/user", "/root"}) {
    if (identify(process + part) != identify(std::string("/proc/self") + part)) return false;
  }
  const auto runs = identify(process + "/exe");
  const auto found = identify(program);
  if (!runs || runs == found) return runs.has_value();
  const auto folder = identify(folderOf(program));  // an update put another file there
  return folder && folder->device == runs->device;
}

/// The program's own path, or else one that belongs to this process.
std::string programOf(const std::string& process) {
  std::string program = executableOf(process);
  return isHere(process, program) ? program : process + "/exe";
}

/// Notes what this process holds of the files; several holders make an empty name.
void look(const std::string& process, const std::set<FileId>& wanted,
          std::map<FileId, std::string>& holders) {
  // Only descriptors of one's own processes may be listed.
  const Folder held(opendir((process + "/fd").c_str()));
  if (!held) return;
  while (const dirent* entry = readdir(held.get())) {
    if (std::isdigit(static_cast<unsigned char>(entry->d_name[0])) == 0) continue;
    const auto id = identify(dirfd(held.get()), entry->d_name);
    if (!id || !wanted.contains(*id)) continue;
    std::string program = programOf(process);
    const auto [at, first] = holders.try_emplace(*id, program);
    if (!first && at->second != program) at->second.clear();
  }
}

}  // namespace

std::optional<WallTime> LinuxOpenedFiles::lastUsed(const std::string& path) {
  if (const auto seen = times_.lastUsed(path)) return seen;
  const auto lost = times_.lost();
  struct stat found {};
  if (!lost || lstat(path.c_str(), &found) != 0 || !S_ISREG(found.st_mode)) return std::nullopt;
  // Anybody may set it, and to what no clock of ours can hold.
  using std::chrono::seconds;
  if (found.st_atim.tv_sec > std::chrono::ceil<seconds>(lost->to).time_since_epoch().count() ||
      found.st_atim.tv_sec < 0) {
    return std::nullopt;
  }
  const WallTime accessed = WallTime(seconds(found.st_atim.tv_sec)) +
                            std::chrono::duration_cast<WallTime::duration>(
                                std::chrono::nanoseconds(found.st_atim.tv_nsec));
  // Times of access go by the kernel's coarse clock.
  constexpr std::chrono::milliseconds slack{20};
  if (accessed < lost->from - slack || accessed > lost->to + slack) return std::nullopt;
  return accessed;
}

std::map<std::string, std::string> LinuxOpenedFiles::openers(std::span<const std::string> paths) {
  std::set<FileId> wanted;
  std::map<FileId, std::string> holders;
  for (const std::string& path : paths) {
    if (const auto id = identify(path)) wanted.insert(*id);
  }
  const std::string us = std::to_string(getpid());
  const Folder processes(wanted.empty() ? nullptr : opendir("/proc"));
  while (const dirent* entry = processes ? readdir(processes.get()) : nullptr) {
    const bool isProcess = std::isdigit(static_cast<unsigned char>(entry->d_name[0])) != 0;
    if (isProcess && us != entry->d_name) {
      look(std::string("/proc/") + entry->d_name, wanted, holders);
    }
  }
  std::map<std::string, std::string> found;
  for (const std::string& path : paths) {
    const auto id = identify(path);
    const auto holder = id ? holders.find(*id) : holders.end();
    if (holder != holders.end() && !holder->second.empty()) found.emplace(path, holder->second);
  }
  return found;
}

ServiceReport LinuxOpenedFiles::report() const {
  const bool listed = Folder(opendir("/proc/self/fd")) != nullptr;
  return {"opened files", "open descriptors", listed,
          listed ? "whoever opens and closes at once is not seen" : "/proc cannot be read"};
}

}  // namespace brindle
