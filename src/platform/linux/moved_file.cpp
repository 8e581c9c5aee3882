#include "platform/linux/moved_file.h"

#include <dirent.h>

#include <chrono>
#include <deque>
#include <memory>

#include "platform/file_step.h"
#include "platform/files.h"
#include "platform/linux/file_identity_look.h"

namespace brindle {
namespace {

using Clock = std::chrono::steady_clock;

struct CloseFolder {
  void operator()(DIR* folder) const { ::closedir(folder); }
};
using Folder = std::unique_ptr<DIR, CloseFolder>;

class Search {
 public:
  Search(const FileIdentity& wanted, const MovedFileBounds& bounds)
      : wanted_(wanted),
        left_(bounds.entries),
        end_(Clock::now() + std::chrono::milliseconds(bounds.milliseconds)) {}

  bool over() const { return left_ == 0 || Clock::now() >= end_; }

  /// Everything below `top` but `done`, where the last turn has been; nearest first.
  std::optional<std::string> below(const std::string& top, const std::string& done) {
    std::deque<std::string> folders{top};
    for (; !folders.empty() && !over(); folders.pop_front()) {
      if (folders.front() == done) continue;
      if (auto found = in(folders.front(), folders)) return found;
    }
    return std::nullopt;
  }

 private:
  /// One folder; puts the folders in it at the end of `next`.
  std::optional<std::string> in(const std::string folder, std::deque<std::string>& next) {
    if (!isInFileSystem(folder)) return std::nullopt;
    const Folder listing(::opendir(folder.c_str()));
    if (!listing) return std::nullopt;
    while (const dirent* entry = ::readdir(listing.get())) {
      const std::string_view name = entry->d_name;
      if (name == "." || name == "..") continue;
      if (left_ == 0) break;
      --left_;
      std::string path = joinPath(folder, name);
      if (entry->d_ino == wanted_.inode && isWanted(path)) return path;
      if (entry->d_type == DT_DIR) next.push_back(std::move(path));
    }
    return std::nullopt;
  }
  bool isWanted(const std::string& path) const {
    const auto seen = lookAtIdentity(path);
    return seen && seen->sameFile(wanted_);
  }
  bool isInFileSystem(const std::string& folder) const {
    const auto seen = lookAtIdentity(folder);
    return seen && seen->sameFileSystem(wanted_);
  }

  const FileIdentity& wanted_;
  std::size_t left_;
  Clock::time_point end_;
};

}  // namespace

std::optional<std::string> findMovedFile(const BookmarkRecord& record,
                                         const MovedFileBounds& bounds) {
  Search search(record.identity, bounds);
  std::string done;
  for (std::string top = folderOf(record.path); !search.over(); top = folderOf(top)) {
    if (auto found = search.below(top, done)) return found;
    if (top == "/") break;
    done = top;
  }
  return std::nullopt;
}

}  // namespace brindle
