#pragma once

#include "service/alert_watch_json.h"
#include "service/alert_watch_outbox.h"

namespace brindle {

/// Occurrences that the service was told of and that their owner has not answered for. Stored with
/// the outbox. Main thread only.
class AlertWatchEvents {
 public:
  /// Those that nobody ever answers for must not pile up. By the time so many came after it the
  /// service has long told the owner of the first.
  static constexpr std::size_t most = 256;

  explicit AlertWatchEvents(AlertWatchOutbox& outbox);

  void begin(const Uuid& event, Watched watched);
  const Watched* find(const Uuid& event) const;
  /// Changes one and has it stored with the next save.
  template <class Change>
  void change(const Uuid& event, Change change) {
    for (auto& [id, watched] : events_) {
      if (id == event) change(watched);
    }
    store();
  }
  void forget(const Uuid& event);
  void forgetAccount(const std::string& email);

 private:
  void store();

  AlertWatchOutbox& outbox_;
  WatchedEvents events_;
};

}  // namespace brindle
