#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/file_events.h"
#include "platform/files_below.h"
#include "watch/watch_target.h"

namespace brindle {

/// A detected opening.
struct WatchHit {
  std::shared_ptr<const WatchTarget> target;
  WallTime at;
  std::string path;  ///< what was opened: the item, or a file below it; empty for apps
};

/// A decoy that is no longer where it was put.
struct DecoyGone {
  std::shared_ptr<const WatchTarget> target;
  std::string folder;
  std::string fileName;
};

/// Finds openings of watched items in batches of file events. An event only says where to look: an
/// opening is a last-used date that is newer than the one read last, and recent. Any thread, one at
/// a time.
class OpenDetector {
 public:
  /// A last-used date further from now than this, either way, is no opening that goes on.
  static constexpr std::chrono::seconds window{30};
  /// Dates that differ by no more than this are one: they went through floating point.
  static constexpr std::chrono::microseconds sameDate{500};

  enum class Mode {
    decoy,  ///< a file that this program placed
    file,
    folder  ///< everything below it
  };
  struct Watched {
    std::shared_ptr<const WatchTarget> target;
    std::string path;
    Mode mode = Mode::file;
  };
  struct Surroundings {
    std::function<std::optional<WallTime>(const std::string& path)> lastUsedDate;
    FilesBelow filesBelow;
    std::function<WallTime()> now;
  };
  struct Found {
    std::vector<WatchHit> hits;
    std::vector<DecoyGone> gone;
    bool rootsChanged = false;  ///< a watched path itself moved: the paths are to be found anew
    bool scanned = false;       ///< events were lost, and everything was looked at
    bool nothing() const { return hits.empty() && gone.empty() && !rootsChanged && !scanned; }
  };

  using Dates = std::unordered_map<std::string, WallTime>;

  explicit OpenDetector(Surroundings surroundings) : at_(std::move(surroundings)) {}

  /// The dates of single items, for `watch`. Also while another thread is at work here.
  Dates datesNow(std::span<const Watched> watched) const;
  /// Watches these from now on. Of single items that were not watched before, what was opened
  /// `before` is not news. What was found so far is not found again.
  void watch(std::vector<Watched> watched, std::vector<std::string> exclusions, Dates before);
  Found process(std::span<const FileEvent> batch);

 private:
  using Key = std::size_t;
  using Index = std::unordered_map<std::string_view, const Watched*>;
  void scan(Found& found);
  void examine(const std::string& path, Found& found);
  const Watched* folderOf(std::string_view path) const;
  static Key keyOf(std::string_view path) { return std::hash<std::string_view>{}(path); }
  std::optional<WallTime> remembered(const Watched& item, const std::string& path) const;
  void remember(const Watched& item, const std::string& path, WallTime date);
  bool isLater(WallTime date, std::optional<WallTime> before) const;
  bool isRecent(WallTime date) const;
  bool isNew(const std::string& path, WallTime date);
  void forgetOld();

  Surroundings at_;
  std::vector<Watched> watched_;
  std::vector<std::string> exclusions_;
  Index exact_;    ///< single items by path
  Index folders_;  ///< folders by path; null for one that is left out
  WallTime now_{};
  /// Dates of single items, kept as long as they are watched.
  Dates lastUsed_;
  /// Dates of files in folders by the hash of their path, while they are inside the window; paths
  /// would take most of the memory. A path whose hash is there already was at worst opened right
  /// after another that was reported.
  std::unordered_map<Key, WallTime> lastUsedBelow_;
  /// What was reported of single items, path and date; two generations, each kept for longer than a
  /// date can be inside the window.
  std::unordered_set<Key> seen_, seenBefore_;
  WallTime forgot_{};
};

}  // namespace brindle
