#include "core/camera_off_alerts.h"

#include <algorithm>
#include <utility>

namespace brindle {

CameraOffAlerts::CameraOffAlerts(Parts parts)
    : parts_(std::move(parts)),
      retry_(parts_.scheduler, [this](const Uuid& id) { report(id); }),
      allowed_(parts_.defaults.boolean(allowedKey).value_or(false)) {}

void CameraOffAlerts::resume() {
  for (const CameraOffAlert& alert : std::vector(cameraOff_)) {
    const bool lost =
        alert.alert == AlertState::queued && !parts_.collaborators.alerts.holds(alert.id);
    const bool owed = alert.alert == AlertState::none && !parts_.owed.notWanted(alert.id);
    if (lost || owed) report(alert.id);
  }
}

bool CameraOffAlerts::has(const Uuid& id) const {
  return std::ranges::find(cameraOff_, id, &CameraOffAlert::id) != cameraOff_.end();
}

CameraOffAlert* CameraOffAlerts::find(const Uuid& id) {
  const auto found = std::ranges::find(cameraOff_, id, &CameraOffAlert::id);
  return found == cameraOff_.end() ? nullptr : &*found;
}

void CameraOffAlerts::turnedOn() { remember(parts_.camera.cameraAllowed()); }

void CameraOffAlerts::look() {
  const bool allowed = parts_.camera.cameraAllowed();
  if (allowed == allowed_) return;
  if (allowed) return remember(true);
  makeRoom();
  const CameraOffAlert alert{parts_.random.newUuid(), parts_.scheduler.wallTime(),
                             AlertState::none};
  cameraOff_.push_back(alert);
  parts_.changed();
  allowed_ = false;
  // The mark follows the record: a crash in between must not lose the change.
  parts_.saving.whenRecorded(lifetime_.guard([this] { remember(allowed_); }));
  parts_.collaborators.push.send({"camera-off", {}, {}, {}});
  report(alert.id);
}

void CameraOffAlerts::remember(bool allowed) {
  allowed_ = allowed;
  if (parts_.defaults.boolean(allowedKey) == allowed) return;
  (void)parts_.defaults.set(allowedKey, allowed);  // else the next run looks once more
}

void CameraOffAlerts::makeRoom() {
  if (cameraOff_.size() < most) return;
  const auto ended = std::ranges::find_if(cameraOff_, [this](const CameraOffAlert& alert) {
    return alert.alert == AlertState::sent || alert.alert == AlertState::rejected ||
           parts_.owed.notWanted(alert.id);
  });
  if (ended != cameraOff_.end()) cameraOff_.erase(ended);
}

void CameraOffAlerts::report(const Uuid& id) {
  const CameraOffAlert* alert = find(id);
  if (!alert || !underWay_.insert(id).second) return;
  parts_.collaborators.alerts.handOver(
      *alert, lifetime_.guard([this, id](HandOver how) { reported(id, how); }));
}

void CameraOffAlerts::reported(const Uuid& id, HandOver how) {
  underWay_.erase(id);
  if (how == HandOver::notHandedOver) {
    parts_.log.notice("report: email owed, not handed over; held copy kept");
    return retry_.failed(id);
  }
  retry_.forget(id);
  if (how == HandOver::nothingOwed) return parts_.owed.setNotWanted(id);
  ended(id, AlertState::queued);
}

void CameraOffAlerts::ended(const Uuid& id, AlertState how) {
  CameraOffAlert* alert = find(id);
  if (!alert || alert->alert == how) return;
  alert->alert = how;
  parts_.changed();
}

}  // namespace brindle
