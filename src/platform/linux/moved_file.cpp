#include "platform/linux/moved_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <chrono>
#include <deque>
#include <map>
#include <unordered_map>
#include <utility>
#include <vector>

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

struct Place {
  std::uint64_t device = 0;
  bool isFolder = false, isMountRoot = false;
};

/// Without asking a server and without mounting anything.
std::optional<Place> placeOf(const std::string& path) {
  constexpr int flags = AT_STATX_DONT_SYNC | AT_NO_AUTOMOUNT | AT_SYMLINK_NOFOLLOW;
  struct statx found {};
  if (::statx(AT_FDCWD, path.c_str(), flags, STATX_TYPE, &found) != 0) return std::nullopt;
  return Place{(std::uint64_t{found.stx_dev_major} << 32) | found.stx_dev_minor,
               S_ISDIR(found.stx_mode), (found.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0};
}

}  // namespace

/// What one look has read so far.
class MovedFileSearch::Look {
 public:
  explicit Look(const MovedFileBounds& bounds)
      : left_(bounds.entries),
        end_(Clock::now() + std::chrono::milliseconds(bounds.milliseconds)) {}

  bool over() const { return left_ == 0 || Clock::now() >= end_; }

  std::optional<std::string> amongSeen(const FileIdentity& wanted) const {
    const auto [first, last] = seen_.equal_range(wanted.inode);
    for (auto at = first; at != last; ++at) {
      const auto place = placeOf(at->second);
      if (!place || place->isMountRoot) continue;
      const auto identity = lookAtIdentity(at->second);
      if (identity && identity->sameFile(wanted)) return at->second;
    }
    return std::nullopt;
  }

  /// Reads everything below `top` that belongs to its mount, nearest first, until it is there.
  std::optional<std::string> below(const std::string& top, const FileIdentity& wanted) {
    const auto place = placeOf(top);
    if (!place || !isIn(top, wanted)) return std::nullopt;
    std::deque<std::string> folders{top};
    for (; !folders.empty() && !over(); folders.pop_front()) {
      const std::string folder = folders.front();
      if (whole_.contains(folder) || (folder != top && !belongsTo(*place, folder))) continue;
      for (const std::string& name : foldersIn(folder)) folders.push_back(joinPath(folder, name));
      if (auto found = amongSeen(wanted)) return found;
    }
    if (folders.empty()) whole_.insert(top);
    return std::nullopt;
  }

 private:
  static bool isIn(const std::string& folder, const FileIdentity& wanted) {
    const auto identity = lookAtIdentity(folder);
    return identity && identity->sameFileSystem(wanted);
  }
  static bool belongsTo(const Place& top, const std::string& folder) {
    const auto place = placeOf(folder);
    return place && place->isFolder && !place->isMountRoot && place->device == top.device;
  }

  const std::vector<std::string>& foldersIn(const std::string& folder) {
    const auto [at, isNew] = read_.try_emplace(folder);
    const Folder listing(isNew ? ::opendir(folder.c_str()) : nullptr);
    while (const dirent* entry = listing ? ::readdir(listing.get()) : nullptr) {
      const std::string_view name = entry->d_name;
      if (name == "." || name == "..") continue;
      if (left_ == 0) break;
      --left_;
      seen_.emplace(entry->d_ino, joinPath(folder, name));
      // Some file systems do not say what it is.
      if (entry->d_type == DT_DIR || entry->d_type == DT_UNKNOWN) at->second.emplace_back(name);
    }
    return at->second;
  }

  std::size_t left_;
  Clock::time_point end_;
  std::unordered_multimap<std::uint64_t, std::string> seen_;  ///< paths by inode number
  std::map<std::string, std::vector<std::string>> read_;      ///< folders, with those in them
  std::set<std::string> whole_;                               ///< read with all that is below
};

MovedFileSearch::MovedFileSearch(MovedFileBounds bounds) : bounds_(bounds) {}
MovedFileSearch::~MovedFileSearch() = default;

std::optional<std::string> MovedFileSearch::find(const BookmarkRecord& record) {
  if (!look_) look_ = std::make_unique<Look>(bounds_);
  if (auto seen = look_->amongSeen(record.identity)) return seen;
  if (hadTurn_.contains(record.path)) return std::nullopt;
  if (look_->over()) refused_ = true;
  if (refused_) return std::nullopt;
  for (std::string top = folderOf(record.path); !look_->over(); top = folderOf(top)) {
    if (auto found = look_->below(top, record.identity)) return found;
    if (top == "/") return std::nullopt;
  }
  hadTurn_.insert(record.path);
  return std::nullopt;
}

void MovedFileSearch::renew() {
  look_.reset();
  if (!std::exchange(refused_, false)) hadTurn_.clear();
}

}  // namespace brindle
