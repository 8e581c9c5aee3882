#include "service/alert_watch_launch.h"

#include <set>

namespace brindle {
namespace {

std::string_view reasonOf(const AlertWatchOutbox& marks, bool asLoginItem) {
  if (marks.flag(watch_marks::updating)) return "updating";
  if (!marks.flag(watch_marks::shutDownMark)) return "crash";
  return asLoginItem ? "login-item" : "quit";
}

/// A body that only names its event can be made again, any other is gone.
bool makeAgain(AlertWatchOp& op) {
  if (op.route != AlertWatchRoute::extend && op.route != AlertWatchRoute::cancel) return false;
  op.body = eventBody(op.eventID.value_or(Uuid()));
  op.file.clear();
  return true;
}

}  // namespace

void matchBodies(AlertWatchOutbox& outbox, AlertWatchBodies& bodies, Files& files, Log log) {
  std::set<std::string> needed;
  std::vector<Uuid> gone;
  for (auto& each : outbox.ops()) {
    if (each.op.file.empty()) continue;
    if (files.exists(bodies.path(each.op)).value_or(true)) {
      needed.insert(each.op.file);
    } else if (makeAgain(each.op)) {
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
