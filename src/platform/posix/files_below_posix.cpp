#include "platform/posix/files_below_posix.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

namespace brindle {
namespace {

struct CloseFolder {
  void operator()(DIR* folder) const { ::closedir(folder); }
};

/// Most file systems say what an entry is; asking for each takes several times as long.
unsigned char kindOf(const dirent& entry, const std::string& path) {
  if (entry.d_type != DT_UNKNOWN) return entry.d_type;
  struct stat is {};
  if (::lstat(path.c_str(), &is) != 0) return DT_UNKNOWN;
  return S_ISDIR(is.st_mode) ? DT_DIR : S_ISREG(is.st_mode) ? DT_REG : DT_UNKNOWN;
}

void lookInto(const std::string& folder, std::vector<std::string>& deeper,
              const std::function<void(const std::string& path)>& each) {
  const std::unique_ptr<DIR, CloseFolder> open(::opendir(folder.c_str()));
  if (!open) return;
  std::string path = folder.ends_with('/') ? folder : folder + '/';
  const std::size_t stem = path.size();
  while (const dirent* entry = ::readdir(open.get())) {
    if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0) continue;
    path.replace(stem, std::string::npos, entry->d_name);
    const unsigned char kind = kindOf(*entry, path);
    if (kind == DT_DIR) deeper.push_back(path);
    if (kind == DT_REG) each(path);
  }
}

}  // namespace

void filesBelow(const std::string& folder, std::span<const std::string> exclusions,
                const std::function<void(const std::string& path)>& each) {
  std::vector<std::string> folders{folder};
  while (!folders.empty()) {
    const std::string next = std::move(folders.back());
    folders.pop_back();
    if (std::ranges::find(exclusions, next) == exclusions.end()) lookInto(next, folders, each);
  }
}

}  // namespace brindle
