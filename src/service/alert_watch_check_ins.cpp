#include "service/alert_watch_check_ins.h"

#include <algorithm>
#include <limits>

#include "service/alert_watch_json.h"

namespace brindle {
namespace {

constexpr std::string_view seqKey = "watch.seq";
constexpr std::string_view resetKey = "watch.reset";
/// 1 January 2026, 00:00 UTC, in seconds since 1970. A number lost with the preferences is taken up
/// by the clock, above all that went before.
constexpr std::int64_t seqEpoch = 1767225600;

}  // namespace

void AlertWatchCheckIns::reset(const std::string& reason) {
  parts_.outbox.mark(resetKey, writeReset({reason, parts_.random.newUuid()}));
}

bool AlertWatchCheckIns::resetWaits() const { return parts_.outbox.text(resetKey).has_value(); }

bool AlertWatchCheckIns::lastStands(const CheckInState& state, const std::string& account) const {
  return last_ && last_->on == state.on && last_->sleeping == state.sleeping &&
         last_->account == account && parts_.scheduler.awakeTime() - last_->at < repeatPause &&
         !resetWaits();
}

std::int64_t AlertWatchCheckIns::nextSeq() const {
  const auto stored = parts_.outbox.number(seqKey);
  const bool atEnd = stored == std::numeric_limits<std::int64_t>::max();
  const std::int64_t next = stored ? *stored + (atEnd ? 0 : 1) : 0;
  const auto now = std::chrono::floor<std::chrono::seconds>(parts_.scheduler.wallTime());
  return std::max({next, now.time_since_epoch().count() - seqEpoch, std::int64_t{0}});
}

void AlertWatchCheckIns::overtake(AlertWatchRoute route, const std::string& account) {
  std::vector<Uuid> overtaken;
  for (auto& each : parts_.outbox.ops()) {
    AlertWatchOp& op = each.op;
    const bool older = op.route == AlertWatchRoute::beat || op.route == route;
    if (!older || !isCheckIn(op.route) || op.account != account || op.resetId) continue;
    if (parts_.underWay(op.id)) {
      op.abandoned = true;
      parts_.outbox.changed(each);
    } else {
      overtaken.push_back(op.id);
    }
  }
  for (const Uuid& id : overtaken) parts_.outbox.remove(id);
}

AlertWatchOutbox::Entry* AlertWatchCheckIns::queue(const CheckInState& state,
                                                   const WatchedMachine& machine,
                                                   const std::string& account) {
  if (lastStands(state, account)) return nullptr;
  const auto stored = parts_.outbox.text(resetKey);
  const auto reset = stored ? readReset(*stored) : std::nullopt;
  AlertWatchOp op;
  op.id = parts_.random.newUuid();
  op.route = state.on ? AlertWatchRoute::beat : AlertWatchRoute::release;
  op.createdAt = parts_.scheduler.wallTime();
  op.account = account;
  op.seq = nextSeq();
  op.body = checkInBody(machine, state, op.seq, reset);
  if (reset) op.resetId = reset->id;
  parts_.bodies.keep(op);
  overtake(op.route, account);
  parts_.outbox.mark(seqKey, op.seq);
  parts_.outbox.mark(resetKey, std::nullopt);
  auto& entry = parts_.outbox.append(std::move(op));
  parts_.outbox.save();
  last_ = {state.on, state.sleeping, account, parts_.scheduler.awakeTime()};
  parts_.log.notice("check-in queued: %{public}s seq %{public}ld%{public}s",
                    alertWatchRouteNames.of(entry.op.route), entry.op.seq,
                    reset ? ", reset " + reset->reason : std::string());
  return &entry;
}

}  // namespace brindle
