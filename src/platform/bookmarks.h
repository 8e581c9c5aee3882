#pragma once

#include <memory>
#include <string>

#include "base/bytes.h"
#include "base/result.h"
#include "platform/service_report.h"

namespace brindle {

/// A bookmark that was found again. `access` keeps the right to use the path, where the system
/// grants one, until it goes.
struct ResolvedBookmark {
  std::string path;    ///< a real path: no symbolic link in it
  bool stale = false;  ///< it leads there, but should be made anew
  std::shared_ptr<void> access;
};

/// References to files and folders that survive a relaunch, a new name, and a move inside the same
/// file system. Main thread; may block for a moment on slow volumes.
class Bookmarks {
 public:
  enum class Problem {
    gone,        ///< nothing is there, or something else is
    denied,      ///< it may not be looked at
    unreadable,  ///< these bytes are no bookmark
    other
  };
  virtual ~Bookmarks() = default;
  [[nodiscard]] virtual Result<Bytes, Problem> create(const std::string& path) = 0;
  [[nodiscard]] virtual Result<ResolvedBookmark, Problem> resolve(ByteView bookmark) = 0;
  /// Where the item lay when the bookmark was made, whether it is there or not; empty when these
  /// bytes don't tell.
  virtual std::string lastPlace(ByteView bookmark) const = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
