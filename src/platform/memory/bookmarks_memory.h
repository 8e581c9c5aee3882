#pragma once

#include <map>
#include <set>

#include "platform/bookmarks.h"

namespace brindle {

/// Bookmarks of paths that a test moves and removes; anything can be bookmarked that was not
/// removed or denied.
class MemoryBookmarks final : public Bookmarks {
 public:
  [[nodiscard]] Result<Bytes, Problem> create(const std::string& path) override {
    if (denied.contains(path)) return Failure(Problem::denied);
    if (removed.contains(path)) return Failure(Problem::gone);
    return bytesOf("memory:" + path);
  }
  [[nodiscard]] Result<ResolvedBookmark, Problem> resolve(ByteView bookmark) override {
    std::string path = lastPlace(bookmark);
    if (path.empty()) return Failure(Problem::unreadable);
    const auto next = moved.find(path);
    const bool stale = next != moved.end();
    if (stale) path = next->second;
    if (denied.contains(path)) return Failure(Problem::denied);
    if (removed.contains(path)) return Failure(Problem::gone);
    ++accessing;
    return ResolvedBookmark{path, stale,
                            std::shared_ptr<void>(this, [this](void*) { --accessing; })};
  }
  std::string lastPlace(ByteView bookmark) const override {
    constexpr std::string_view prefix = "memory:";
    const std::string_view text = textOf(bookmark);
    return std::string(text.starts_with(prefix) ? text.substr(prefix.size()) : "");
  }
  ServiceReport report() const override { return {"bookmarks", "memory", true, {}}; }

  std::map<std::string, std::string> moved;  ///< where a bookmarked path is now
  std::set<std::string> removed, denied;
  int accessing = 0;  ///< rights to use a path that are held
};

}  // namespace brindle
