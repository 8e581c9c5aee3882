#include "service/alert_watch_launch.h"

#include <set>

namespace brindle {
namespace {

std::string_view reasonOf(const AlertWatchOutbox& marks, bool asLoginItem) {
  if (marks.flag(watch_marks::updating)) return "updating";
  if (!marks.flag(watch_marks::shutDownMark)) return "crash";
  return asLoginItem ? "login-item" : "quit";
}

/// A body that the operation holds, or that only names its event, can be written again.
bool writeAgain(AlertWatchOp& op, AlertWatchBodies& bodies) {
  const bool namesEvent =
      op.route == AlertWatchRoute::extend || op.route == AlertWatchRoute::cancel;
  if (op.body.empty() && !namesEvent) return false;
  if (op.body.empty()) op.body = eventBody(op.eventID.value_or(Uuid()));
  op.file.clear();
  bodies.keep(op);
  return true;
}

}  // namespace

void matchBodies(AlertWatchOutbox& outbox, AlertWatchBodies& bodies, Log log) {
  std::set<std::string> needed;
  std::vector<Uuid> gone;
  for (auto& each : outbox.ops()) {
    if (each.op.file.empty()) continue;
    if (bodies.isWhole(each.op)) {
      needed.insert(each.op.file);
    } else if (writeAgain(each.op, bodies)) {
      needed.insert(each.op.file);
      outbox.changed(each);
    } else {
      gone.push_back(each.op.id);
    }
  }
  if (!gone.empty()) log.notice("outbox: %{public}ld bodies are gone, not sent", gone.size());
  for (const Uuid& id : gone) outbox.remove(id);
  bodies.sweep([&needed](const std::string& name) { return needed.contains(name); });
}

void noteReset(AlertWatchOutbox& outbox, AlertWatchCheckIns& checkIns, bool asLoginItem, bool on) {
  if (!outbox.flag(watch_marks::toldOn)) return;
  if (!checkIns.resetWaits()) checkIns.reset(std::string(reasonOf(outbox, asLoginItem)));
  outbox.mark(watch_marks::updating, std::nullopt);
  outbox.mark(watch_marks::shutDownMark, std::nullopt);
  const bool atLogin = asLoginItem && on;
  outbox.mark(watch_marks::loginItemWhileOn,
              atLogin ? std::optional<PreferenceValue>(true) : std::nullopt);
}

}  // namespace brindle
