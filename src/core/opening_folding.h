#pragma once

#include <optional>
#include <set>
#include <string>
#include <utility>

#include "core/unlock_event.h"

namespace brindle {

/// Decides whether the opening of a watched item is news, and whether it belongs to an event that
/// is there already. Main thread only.
class OpeningFolding {
 public:
  static constexpr Duration window = std::chrono::seconds(3);

  /// True the first time an item is opened since the last lock signal. Two items may share a name:
  /// `item` tells them apart.
  bool isNew(const Trigger& trigger, const std::optional<Uuid>& item = {}) {
    return watchedThisSitting_.emplace(trigger.kind, item ? item->upper() : trigger.name).second;
  }
  void newSitting() { watchedThisSitting_.clear(); }

  /// The event to fold an opening at `now` into, or null: the one being handled, or else the last.
  /// An event that needs nothing more takes nothing in, and neither does a record of wrong tries:
  /// the opening would happen behind the owner's back.
  static EventRef target(const EventRef& beingHandled, const EventRef& last, WallTime now);

 private:
  std::set<std::pair<std::string, std::string>> watchedThisSitting_;
};

}  // namespace brindle
