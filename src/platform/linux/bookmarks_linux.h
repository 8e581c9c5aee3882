#pragma once

#include "platform/bookmarks.h"
#include "platform/linux/moved_file.h"

namespace brindle {

/// Bookmarks made of a path and of what the file is recognised by. Nobody grants or withdraws
/// access here, so holding the resolution holds nothing.
class LinuxBookmarks final : public Bookmarks {
 public:
  explicit LinuxBookmarks(MovedFileBounds bounds = {}) : bounds_(bounds) {}

  [[nodiscard]] Result<Bytes, Problem> create(const std::string& path) override;
  [[nodiscard]] Result<ResolvedBookmark, Problem> resolve(ByteView bookmark) override;
  std::string lastPlace(ByteView bookmark) const override;
  ServiceReport report() const override;

 private:
  MovedFileBounds bounds_;
};

}  // namespace brindle
