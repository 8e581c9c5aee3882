#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "watch/watch_target.h"

namespace brindle {

inline constexpr std::int64_t watchListVersion = 1;

/// An entry of the list as it was read: nothing when it is no target of ours.
struct Lenient {
  std::optional<WatchTarget> target;
};

/// "watch-list.json" as it was read, entry by entry.
struct LenientSaved {
  std::int64_t version = watchListVersion;
  std::vector<Lenient> targets;

  /// The targets that could be read; of several with one identifier, the first.
  std::vector<WatchTarget> readable() const;
};

/// Nothing when the text is no watch list at all.
std::optional<LenientSaved> readWatchList(std::string_view text);

/// "watch-list.json" as it is written.
struct Saved {
  std::int64_t version = watchListVersion;
  std::span<const WatchTarget> targets;
};
std::string writeWatchList(const Saved& saved);

}  // namespace brindle
