#include "core/alert_reports.h"

#include "core/device_notices.h"

namespace brindle {

AlertReports::AlertReports(const Parts& parts)
    : parts_(parts),
      hold_(parts.scheduler, parts.clock, [this](const Uuid& event) { ranOut(event); }),
      retry_(parts.scheduler, [this](const Uuid& event) { report(event); }) {}

void AlertReports::hold(const UnlockEvent& event, Duration delay, Duration elapsed) {
  hold_.begin(event.id, delay, elapsed);
}

void AlertReports::resume(const UnlockEvent& event, Duration delay, Duration elapsed) {
  const auto& alerts = parts_.collaborators.alerts;
  const bool lost = event.alert == AlertState::queued && !alerts.holds(event.id);
  const bool none = event.alert == AlertState::none;
  const bool owed = none && parts_.owed.owed(event.id);
  if (owed && alerts.holds(event.id)) return taken(event.id);  // only its record was lost
  if (lost || owed) return report(event.id);
  if (!none) parts_.owed.forget(event.id);  // a crash came between its record and this list
  if (none && !event.resolved && !parts_.owed.notWanted(event.id)) hold(event, delay, elapsed);
}

bool AlertReports::ended(const Uuid& id, AlertState how) {
  return parts_.history.change(id, [how](UnlockEvent& event) { event.alert = how; });
}

void AlertReports::releaseNow(const Uuid& event) {
  if (!hold_.running(event)) return;
  hold_.end(event);
  released(event);
}

void AlertReports::settle(const Uuid& event) {
  hold_.end(event);
  retry_.forget(event);
  alertTask_.erase(event);
  parts_.owed.forget(event);
  givePhotosBack(event);
  parts_.collaborators.alerts.withdraw(event);
  parts_.collaborators.alertWatch.cancel(event);
}

void AlertReports::ranOut(const Uuid& id) {
  const EventRef event = parts_.history.find(id);
  released(id);
  if (event && !event->attemptOnly) parts_.collaborators.alarm.unconfirmed(*event);
}

void AlertReports::released(const Uuid& id) {
  const EventRef event = parts_.history.find(id);
  if (!event) return;
  parts_.copies.released(id);
  logUnconfirmed(*event);   // once it is owed, no later run does
  parts_.owed.setOwed(id);  // before anybody can say that the event needs nothing more
  if (const auto notice = noticeOfUnconfirmed(*event)) parts_.collaborators.push.send(*notice);
  report(id);
}

void AlertReports::logUnconfirmed(const UnlockEvent& event) {
  const auto outcome =
      event.attemptOnly ? UnlockLogging::Outcome::wrongPIN : UnlockLogging::Outcome::unconfirmed;
  parts_.collaborators.unlockLog.record(event.id, event.date, outcome,
                                        event.wrongPINs + event.wrongAnswers);
}

void AlertReports::tried(const Uuid& id) {
  const EventRef event = parts_.history.find(id);
  if (!event || hold_.running(id)) return;
  const bool wasReleased =
      event->alert != AlertState::none || parts_.owed.owed(id) || parts_.owed.notWanted(id);
  if (wasReleased) logUnconfirmed(*event);
}

void AlertReports::report(const Uuid& id) {
  const EventRef event = parts_.history.find(id);
  if (!event || !alertTask_.insert(id).second) return;
  keepPhotos(*event);
  parts_.collaborators.alerts.handOver(
      *event, lifetime_.guard([this, id](HandOver how) { reported(id, how); }));
}

void AlertReports::reported(const Uuid& id, HandOver how) {
  if (alertTask_.erase(id) == 0) return;  // settled meanwhile
  if (how == HandOver::notHandedOver) {
    parts_.log.notice("report: email owed, not handed over; held copy kept");
    return retry_.failed(id);
  }
  retry_.forget(id);
  givePhotosBack(id);
  // Wrong tries ask the owner nothing: once reported they are dealt with.
  parts_.history.change(id, [](UnlockEvent& event) { event.resolved |= event.attemptOnly; });
  if (how == HandOver::nothingOwed) return parts_.owed.setNotWanted(id);
  taken(id);
}

void AlertReports::taken(const Uuid& id) {
  parts_.history.change(id, [](UnlockEvent& event) { event.alert = AlertState::queued; });
  // Behind its record: a crash in between must not leave a report that nobody follows.
  parts_.saving.whenRecorded(lifetime_.guard([this, id] { parts_.owed.forget(id); }));
}

void AlertReports::keepPhotos(const UnlockEvent& event) {
  givePhotosBack(event.id);
  heldAlertPhotos_[event.id] = event.files();
  for (const FileName& name : heldAlertPhotos_[event.id]) parts_.vault.handOut(name);
}

void AlertReports::givePhotosBack(const Uuid& event) {
  const auto held = heldAlertPhotos_.find(event);
  if (held == heldAlertPhotos_.end()) return;
  for (const FileName& name : held->second) parts_.vault.giveBack(name);
  heldAlertPhotos_.erase(held);
}

}  // namespace brindle
