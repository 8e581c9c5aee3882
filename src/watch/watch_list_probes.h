#pragma once

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/lifetime.h"
#include "base/uuid.h"
#include "platform/file_events.h"
#include "platform/scheduler.h"

namespace brindle {

/// Opens items and looks whether that is seen, a few at a time: each look takes one of the system's
/// few observers, and up to a second where nothing is seen. Main thread only.
class WatchListProbes {
 public:
  static constexpr std::size_t atOnce = 16;
  /// Why an item is not watchable whose opening by ourselves was not seen.
  static constexpr const char* openingsUnseen = "Its file system doesn't tell who opens it.";
  struct Asks {
    /// Where the item is when its turn comes; none: it is not looked at.
    std::function<std::optional<std::string>(const Uuid&)> place;
    /// `why` openings of the item are not seen, for a person; empty when they are.
    std::function<void(const Uuid&, const std::string& why)> found;
  };
  WatchListProbes(FileEvents& events, Scheduler& scheduler, Asks asks)
      : events_(events), scheduler_(scheduler), asks_(std::move(asks)) {}

  /// Instead of what is under way; `over` from the main loop when all have answered.
  void begin(std::vector<Uuid> items, std::function<void()> over = {});
  /// As `begin`, for somebody who waits: what has not answered within `limit` says so.
  void beginWithin(Duration limit, std::vector<Uuid> items, std::function<void()> over);
  /// Nothing of them is heard any more.
  void stop();

 private:
  void fill();
  void answered(const Uuid& id, bool seen);
  void late();

  FileEvents& events_;
  Scheduler& scheduler_;
  const Asks asks_;
  std::deque<Uuid> waiting_;
  std::map<Uuid, Subscription> running_;
  std::function<void()> over_;
  Timer limit_;
  Lifetime round_;
};

}  // namespace brindle
