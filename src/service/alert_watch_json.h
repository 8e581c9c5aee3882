#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "service/alert_watch_op.h"

namespace brindle {

// The persisted forms of the watch. Reading skips what it cannot make out and counts it.

using WatchedEvents = std::vector<std::pair<Uuid, Watched>>;  ///< oldest first

template <class T>
struct ReadList {
  T list;
  std::size_t skipped = 0;
};

std::string writeOp(const AlertWatchOp& op);
ReadList<std::vector<AlertWatchOp>> readOps(std::string_view outbox);

std::string writeWatched(const WatchedEvents& events);
ReadList<WatchedEvents> readWatched(std::string_view text);

std::string writeReset(const AlertWatchReset& reset);
std::optional<AlertWatchReset> readReset(std::string_view text);

/// What the service says of the backstop in an answer, if anything.
std::optional<bool> backstopIn(std::string_view answer);

}  // namespace brindle
