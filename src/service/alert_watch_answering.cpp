#include "service/alert_watch_answering.h"

#include <algorithm>

namespace brindle {

AlertWatchResult resultOf(AnswerClass answer) {
  switch (answer) {
    case AnswerClass::done:
      return AlertWatchResult::done;
    case AnswerClass::refused:
      return AlertWatchResult::rejected;
    case AnswerClass::failed:
      return AlertWatchResult::retryLater;
  }
  return AlertWatchResult::retryLater;
}

/// The service may have refused what it was told ahead of its order because it did not know the
/// event yet, and may forget a "cancel" that came before its "pending".
bool AlertWatchAnswering::goesAgainInOrder(const AlertWatchOp& op, AlertWatchResult result) const {
  if (!op.aheadOfItsPending) return false;
  if (result == AlertWatchResult::done && op.route != AlertWatchRoute::cancel) return false;
  return std::ranges::any_of(outbox_.ops(), [&op](const AlertWatchOutbox::Entry& other) {
    return other.op.eventID == op.eventID && other.op.route < op.route;
  });
}

void AlertWatchAnswering::settled(const Uuid& id, const ServiceAnswer& answer) {
  AlertWatchOutbox::Entry* entry = outbox_.find(id);
  if (!entry) return;
  const AlertWatchResult result = resultOf(answer.answer);
  const AlertWatchOp op = entry->op;
  if (result == AlertWatchResult::retryLater && !op.abandoned) {
    turns_.failed(*entry);
  } else if (goesAgainInOrder(op, result)) {
    entry->op.aheadOfItsPending = false;
    outbox_.changed(*entry);
  } else {
    outbox_.remove(id);
    ended_(op, result, answer);
  }
  outbox_.saveSoon();
  turns_.sendSoon();
}

}  // namespace brindle
