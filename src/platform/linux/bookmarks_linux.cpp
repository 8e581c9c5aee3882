#include "platform/linux/bookmarks_linux.h"

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <utility>

#include "platform/linux/file_identity_look.h"

namespace brindle {
namespace {

Bookmarks::Problem problemOf(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return Bookmarks::Problem::gone;
    case EACCES:
    case EPERM:
      return Bookmarks::Problem::denied;
    default:
      return Bookmarks::Problem::other;
  }
}

struct FreeText {
  void operator()(char* text) const { std::free(text); }
};

/// The file or folder to which a path leads now, symbolic links and all.
Result<BookmarkRecord, int> follow(const std::string& path) {
  const std::unique_ptr<char, FreeText> real(::realpath(path.c_str(), nullptr));
  if (!real) return Failure(errno);
  auto identity = lookAtIdentity(real.get());
  if (!identity) return Failure(identity.error());
  return BookmarkRecord{*std::move(identity), real.get()};
}

}  // namespace

Result<Bytes, Bookmarks::Problem> LinuxBookmarks::create(const std::string& path) {
  const auto record = follow(path);
  if (!record) return Failure(problemOf(record.error()));
  return bytesOf(*record);
}

// Something of the same kind at the old path comes before the search: programs that save safely
// leave the earlier version beside the new one under another name, and the owner means the new one.
Result<ResolvedBookmark, Bookmarks::Problem> LinuxBookmarks::resolve(ByteView bookmark) {
  const auto record = readBookmarkRecord(bookmark);
  if (!record) return Failure(Problem::unreadable);
  const auto now = follow(record->path);
  if (now && now->identity.kind == record->identity.kind) {
    const bool same = now->path == record->path && now->identity.sameFile(record->identity);
    return ResolvedBookmark{now->path, !same, {}};
  }
  const Problem problem = now ? Problem::gone : problemOf(now.error());
  if (problem == Problem::denied) return Failure(problem);
  if (auto found = search(*record)) {
    return ResolvedBookmark{*std::move(found), true, {}};
  }
  return Failure(problem);
}

std::string LinuxBookmarks::lastPlace(ByteView bookmark) const {
  const auto record = readBookmarkRecord(bookmark);
  return record ? record->path : std::string();
}

std::optional<std::string> LinuxBookmarks::search(const BookmarkRecord& record) {
  if (!std::exchange(ends_, true)) {
    scheduler_.post(lifetime_.guard([this] {
      ends_ = false;
      search_.renew();
    }));
  }
  return search_.find(record);
}

ServiceReport LinuxBookmarks::report() const {
  return {"bookmarks", "paths and file handles", true,
          "a moved item is found again among " + std::to_string(bounds_.entries) +
              " names around its old place, on the same mount"};
}

}  // namespace brindle
