#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "platform/linux/bookmark_record.h"

namespace brindle {

/// How far a look for moved files goes.
struct MovedFileBounds {
  std::size_t entries = 20'000;  ///< names read
  int milliseconds = 150;        ///< for volumes that answer slowly; the main thread waits
};

/// Finds files and folders that went from their places, by their inode numbers in the folders
/// around: first the item's own folder and what is below, then the folder above that with
/// everything below, and so on to the root of the file system, each nearest first. Opening an item
/// by its handle, which needs no search, is the privilege of root.
///
/// Other mounts are not entered: the item is not there, and one whose server is away would hang.
class MovedFileSearch {
 public:
  explicit MovedFileSearch(MovedFileBounds bounds);
  ~MovedFileSearch();

  /// None when it was not met within the bounds. All finds until the next `renew` share them, and
  /// what was read: many missing items cost no more than one.
  std::optional<std::string> find(const BookmarkRecord& record);
  /// What was read is forgotten. Items to which the bounds left nothing go first from here.
  void renew();

 private:
  class Look;
  MovedFileBounds bounds_;
  std::unique_ptr<Look> look_;
  std::set<std::string> hadTurn_;  ///< old places of those that met the bounds
  bool refused_ = false;
};

}  // namespace brindle
