#include "watch/security_scoped_bookmarks.h"

#include <utility>

namespace brindle {

using Problem = Bookmarks::Problem;

Result<SecurityScopedBookmarks::Created, Problem> SecurityScopedBookmarks::create(
    const std::string& path) {
  auto bookmark = bookmarks_.create(path);
  if (!bookmark) return Failure<Problem>(bookmark.error());
  auto place = bookmarks_.resolve(*bookmark);
  if (!place) return Failure<Problem>(place.error());
  return Created{*std::move(bookmark), std::move(place->path)};
}

Result<SecurityScopedBookmarks::Resolved, Problem> SecurityScopedBookmarks::resolve(
    ByteView bookmark) {
  auto place = bookmarks_.resolve(bookmark);
  if (!place) return Failure<Problem>(place.error());
  Resolved resolved{*std::move(place), std::nullopt};
  if (!resolved.place.stale) return resolved;
  // One that cannot be made anew still leads there; the next look tries again.
  if (auto renewed = bookmarks_.create(resolved.place.path)) resolved.renewed = *std::move(renewed);
  return resolved;
}

}  // namespace brindle
