#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "base/json_writer.h"
#include "platform/service_report.h"
#include "watch/watch_list.h"

namespace brindle {

/// One watched item as a person or a program is shown it.
struct WatchedItem {
  WatchTarget target;
  WatchTargetState state;
  std::string path;  ///< where it lies now; empty for apps and what is missing
};

/// The line of `brindle status`; empty while nothing is watched besides unlocks.
std::string watchLine(const std::vector<WatchedItem>& items);
void writeWatchStatus(JsonWriter& out, const std::vector<WatchedItem>& items);

std::string watchListText(const std::vector<WatchedItem>& items);
std::string watchListJson(const std::vector<WatchedItem>& items);

/// That whether openings of so many items are seen was not found out.
std::string notLookedAt(std::size_t items);

/// What `brindle doctor` says of them: only how many, where names are the owner's alone. `problem`
/// is why the list could not be read.
ServiceReport watchReport(const std::vector<WatchedItem>& items, const std::string& problem,
                          bool withNames);

/// How an addition ended that was none to be refused.
std::string addedText(const WatchList::AddedTarget& added, const WatchTargetState& state);
/// One that was taken back.
std::string notAddedText(const WatchTarget& target);
/// `running`: a guard goes on trying to save.
std::string removedText(const WatchTarget& target, WatchList::Removed how, bool running);

}  // namespace brindle
