#pragma once

#include "base/lifetime.h"
#include "platform/bookmarks.h"
#include "platform/linux/moved_file.h"
#include "platform/scheduler.h"

namespace brindle {

/// Bookmarks made of a path and of what the file is recognised by. Nobody grants or withdraws
/// access here, so holding the resolution holds nothing. What is resolved in one turn of the main
/// loop shares one search for what is missing.
class LinuxBookmarks final : public Bookmarks {
 public:
  explicit LinuxBookmarks(Scheduler& scheduler, MovedFileBounds bounds = {})
      : scheduler_(scheduler), bounds_(bounds), search_(bounds) {}

  [[nodiscard]] Result<Bytes, Problem> create(const std::string& path) override;
  [[nodiscard]] Result<ResolvedBookmark, Problem> resolve(ByteView bookmark) override;
  std::string lastPlace(ByteView bookmark) const override;
  ServiceReport report() const override;

 private:
  std::optional<std::string> search(const BookmarkRecord& record);

  Scheduler& scheduler_;
  const MovedFileBounds bounds_;
  MovedFileSearch search_;
  bool ends_ = false;  ///< the search, with this turn
  Lifetime lifetime_;
};

}  // namespace brindle
