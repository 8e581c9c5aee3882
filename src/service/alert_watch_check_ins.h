#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/random.h"
#include "service/alert_watch_outbox.h"

namespace brindle {

/// Makes the check-ins: their numbers, their resets, and when one is not worth repeating. Main
/// thread only.
class AlertWatchCheckIns {
 public:
  /// The same state again within this time says nothing new.
  static constexpr Duration repeatPause = std::chrono::seconds(60);

  struct Parts {
    Scheduler& scheduler;
    AlertWatchOutbox& outbox;
    AlertWatchBodies& bodies;
    Random& random;
    Log log;
    /// Whether an operation is on its way.
    std::function<bool(const Uuid&)> underWay;
  };
  explicit AlertWatchCheckIns(const Parts& parts) : parts_(parts) {}

  /// Queued and stored; null when the last one stands.
  AlertWatchOutbox::Entry* queue(const CheckInState& state, const WatchedMachine& machine,
                                 const std::string& account);
  /// The next check-in says that the watch started anew, and why.
  void reset(const std::string& reason);
  bool resetWaits() const;

 private:
  struct Last {
    bool on;
    bool sleeping;
    std::string account;
    Duration at;
  };
  bool lastStands(const CheckInState& state, const std::string& account) const;
  std::int64_t nextSeq() const;
  /// Older ones say what is no longer so; only what carries a reset is still wanted.
  void overtake(AlertWatchRoute route, const std::string& account);

  Parts parts_;
  std::optional<Last> last_;
};

}  // namespace brindle
