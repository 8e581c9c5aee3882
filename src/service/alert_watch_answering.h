#pragma once

#include <functional>

#include "service/alert_watch_turns.h"

namespace brindle {

/// What an answer means for the operation that it answers. Main thread only.
class AlertWatchAnswering {
 public:
  /// The operation is gone from the outbox, unless the result is `retryLater`.
  using Ended = std::function<void(const AlertWatchOp&, AlertWatchResult, const ServiceAnswer&)>;

  AlertWatchAnswering(AlertWatchOutbox& outbox, AlertWatchTurns& turns, Ended ended)
      : outbox_(outbox), turns_(turns), ended_(std::move(ended)) {}

  void settled(const Uuid& id, const ServiceAnswer& answer);

 private:
  bool goesAgainInOrder(const AlertWatchOp& op, AlertWatchResult result) const;

  AlertWatchOutbox& outbox_;
  AlertWatchTurns& turns_;
  Ended ended_;
};

AlertWatchResult resultOf(AnswerClass answer);

}  // namespace brindle
