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
/// few observers for some milliseconds, and for a second where nothing is seen. Main thread only.
class WatchListProbes {
 public:
  static constexpr std::size_t atOnce = 16;
  /// Why an item is not watchable whose opening was not seen.
  static constexpr const char* openingsUnseen = "Its file system doesn't tell who opens it.";
  struct Asks {
    /// Where the item is when its turn comes; none: it is not looked at.
    std::function<std::optional<std::string>(const Uuid&)> place;
    std::function<void(const Uuid&, bool seen)> found;
  };
  WatchListProbes(FileEvents& events, Scheduler& scheduler, Asks asks)
      : events_(events), scheduler_(scheduler), asks_(std::move(asks)) {}

  /// How many have not answered.
  using Over = std::function<void(std::size_t late)>;

  /// Instead of what is under way.
  void begin(std::vector<Uuid> items);
  /// As `begin`, for somebody who waits: `over` from the main loop when all have answered, or at
  /// the limit, and then the others are given up.
  void beginWithin(Duration limit, std::vector<Uuid> items, Over over);
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
  Over over_;
  Timer limit_;
  Lifetime round_;
};

}  // namespace brindle
