#include "service/alert_watch_turns.h"

#include <algorithm>

namespace brindle {
namespace {

using Entry = AlertWatchOutbox::Entry;

/// Whether nothing of the same event comes before it.
bool isFirst(const AlertWatchOp& op, const std::unordered_map<Uuid, AlertWatchRoute>& lowest) {
  return !op.eventID || lowest.at(*op.eventID) == op.route;
}

}  // namespace

Duration retryPause(int rounds) {
  constexpr int doublings = 5;
  const auto pause = std::chrono::seconds(2) * (1 << std::clamp(rounds - 1, 0, doublings));
  return std::min<Duration>(pause, std::chrono::seconds(60));
}

AlertWatchTurns::LowestRoutes AlertWatchTurns::lowestRoutes() const {
  LowestRoutes lowest;
  for (const Entry& each : parts_.outbox.ops()) {
    if (!each.op.eventID) continue;
    const auto [known, isNew] = lowest.try_emplace(*each.op.eventID, each.op.route);
    if (!isNew) known->second = std::min(known->second, each.op.route);
  }
  return lowest;
}

bool AlertWatchTurns::accountIsHere(const AlertWatchOp& op) const {
  const auto& session = parts_.sessions.session();
  return session && (op.account.empty() || op.account == session->email);
}

bool AlertWatchTurns::isYoung(const Entry& entry) const {
  // The clock of this run cannot be set; of an earlier run only the wall clock is known, and a date
  // that lies ahead counts as just now.
  const Duration age = entry.queued ? parts_.scheduler.awakeTime() - *entry.queued
                                    : Duration(parts_.scheduler.wallTime() - entry.op.createdAt);
  return age < quickRetryAge;
}

bool AlertWatchTurns::mayGo(Entry& entry, How how) {
  if (entry.op.abandoned || !parts_.sending.mayBegin(entry.op.id)) return false;
  if (!accountIsHere(entry.op)) {
    if (how != How::due && !std::exchange(entry.toldWaiting, true)) parts_.sending.wait(entry.op);
    return false;
  }
  entry.toldWaiting = false;
  if (how == How::sleep) return true;
  if (entry.due > parts_.scheduler.awakeTime()) return false;
  return how == How::regular || entry.whenRoom || entry.round == 0 || isYoung(entry);
}

bool AlertWatchTurns::handOverAhead(Entry& entry) {
  const AlertWatchRoute route = entry.op.route;
  if (route != AlertWatchRoute::pendingPhoto && route != AlertWatchRoute::cancel) return false;
  entry.op.aheadOfItsPending = true;
  parts_.outbox.changed(entry);
  parts_.log.notice("sleep: %{public}s handed over ahead of its order",
                    alertWatchRouteNames.of(route));
  return true;
}

void AlertWatchTurns::send(How how) {
  if (!parts_.sending.ready()) return;
  const LowestRoutes lowest = lowestRoutes();
  int inThisTurn = 0;
  for (Entry& each : parts_.outbox.ops()) {
    if (!mayGo(each, how)) continue;
    if (!isFirst(each.op, lowest) && (how != How::sleep || !handOverAhead(each))) continue;
    const bool room = parts_.sending.count() < mostAtOnce;
    const bool inTurn = inThisTurn < mostPerTurn;
    each.whenRoom = how != How::sleep && !(room && inTurn);
    if (each.whenRoom && room) sendSoon();
    if (each.whenRoom) continue;
    parts_.sending.send(each);
    ++inThisTurn;
  }
  arm();
}

void AlertWatchTurns::sendSoon() {
  if (std::exchange(sendingComes_, true)) return;
  parts_.scheduler.post(lifetime_.guard([this] {
    sendingComes_ = false;
    send(How::due);
  }));
}

void AlertWatchTurns::sendNew(Entry& entry) {
  if (!parts_.sending.ready() || !mayGo(entry, How::regular)) return;
  const auto before = [&entry](const Entry& other) {
    return other.op.eventID == entry.op.eventID && other.op.route < entry.op.route;
  };
  const bool inOrder = !entry.op.eventID || std::ranges::none_of(parts_.outbox.ops(), before);
  if (inOrder) parts_.sending.send(entry);
}

void AlertWatchTurns::failed(Entry& entry) {
  const Duration pause = retryPause(++entry.round);
  entry.due = parts_.scheduler.awakeTime() + pause;
  entry.op.notBefore =
      parts_.scheduler.wallTime() + std::chrono::duration_cast<std::chrono::microseconds>(pause);
  parts_.outbox.changed(entry);
}

std::optional<Duration> AlertWatchTurns::nextTry(const Entry& entry) const {
  const bool quick = entry.round > 0 && isYoung(entry) && !entry.op.abandoned &&
                     parts_.sending.mayBegin(entry.op.id) && accountIsHere(entry.op);
  if (!quick) return std::nullopt;
  return std::max(entry.due - parts_.scheduler.awakeTime(), Duration::zero());
}

void AlertWatchTurns::arm() {
  std::optional<Duration> soonest;
  for (const Entry& each : parts_.outbox.ops()) {
    const auto wait = nextTry(each);
    if (wait && *wait > Duration::zero() && (!soonest || *wait < *soonest)) soonest = wait;
  }
  retry_ = soonest ? parts_.scheduler.after(*soonest, [this] { send(How::due); }) : Timer();
}

}  // namespace brindle
