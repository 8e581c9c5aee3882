#pragma once

#include <optional>
#include <string>

#include "platform/bookmarks.h"

namespace brindle {

/// Creates and resolves the bookmarks of the watch list and makes stale ones anew. Main thread.
class SecurityScopedBookmarks {
 public:
  struct Created {
    Bytes bookmark;
    std::string path;  ///< the real one
  };
  struct Resolved {
    ResolvedBookmark place;
    std::optional<Bytes> renewed;  ///< to be kept instead of the one that was stale
  };
  explicit SecurityScopedBookmarks(Bookmarks& bookmarks) : bookmarks_(bookmarks) {}

  [[nodiscard]] Result<Created, Bookmarks::Problem> create(const std::string& path);
  [[nodiscard]] Result<Resolved, Bookmarks::Problem> resolve(ByteView bookmark);
  std::string lastPlace(ByteView bookmark) const { return bookmarks_.lastPlace(bookmark); }

 private:
  Bookmarks& bookmarks_;
};

}  // namespace brindle
