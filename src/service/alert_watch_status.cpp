#include "service/alert_watch_status.h"

namespace brindle {
namespace {

using Why = AlertWatchStatus::Why;

Why whyOf(const AlertWatchOutbox::Entry& entry, const AlertWatchSending& sending,
          const AlertWatchTurns& turns, bool triesItself) {
  if (sending.underWay(entry.op.id)) return Why::onItsWay;
  if (!turns.accountIsHere(entry.op)) return Why::waitsForItsAccount;
  if (entry.round == 0) return Why::waitsForItsTurn;
  return triesItself ? Why::triedAgain : Why::triedWithTheNext;
}

}  // namespace

std::vector<AlertWatchStatus::Queued> queuedNow(const AlertWatchOutbox& outbox,
                                                const AlertWatchSending& sending,
                                                const AlertWatchTurns& turns) {
  std::vector<AlertWatchStatus::Queued> all;
  for (const auto& each : outbox.ops()) {
    const auto next = turns.nextTry(each);
    all.push_back({each.op.id, each.op.route, each.op.eventID, each.op.createdAt, each.op.attempts,
                   whyOf(each, sending, turns, next.has_value()), next});
  }
  return all;
}

}  // namespace brindle
