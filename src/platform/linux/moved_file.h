#pragma once

#include <optional>

#include "platform/linux/bookmark_record.h"

namespace brindle {

/// How far a look for a moved file goes.
struct MovedFileBounds {
  std::size_t entries = 20'000;  ///< names read
  int milliseconds = 150;        ///< for volumes that answer slowly; the main thread waits
};

/// Where a file or folder is now that went from its place, by its inode number in the folders
/// around: first its own folder and what is below, then the folder above that with everything
/// below, and so on to the root of the file system, each nearest first. None when it was not met
/// within the bounds: opening it by its handle, which needs no search, is the privilege of root.
std::optional<std::string> findMovedFile(const BookmarkRecord& record,
                                         const MovedFileBounds& bounds = {});

}  // namespace brindle
