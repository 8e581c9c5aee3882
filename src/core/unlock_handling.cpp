#include "core/unlock_handling.h"

#include <algorithm>
#include <iterator>
#include <ranges>
#include <utility>

#include "core/device_notices.h"

namespace brindle {
namespace {

WatchedUnlock watchedUnlock(const UnlockEvent& event) {
  return {event.id, event.date, kindOf(event), 0, {}, watchedItemOf(event.trigger)};
}

}  // namespace

std::optional<UnlockEvent> attemptsOf(const UnlockEvent& event) {
  if (event.wrongPINs + event.wrongAnswers == 0) return std::nullopt;
  UnlockEvent tries;
  tries.id = event.id;  // the names of its photos go on fitting
  tries.date = event.date;
  tries.wrongPINs = event.wrongPINs;
  tries.wrongAnswers = event.wrongAnswers;
  // A report that was on its way is withdrawn; if it arrives all the same, its result says so.
  const bool ended = event.alert == AlertState::sent || event.alert == AlertState::rejected;
  if (ended) tries.alert = event.alert;
  tries.attemptOnly = true;
  tries.photoPending = event.photoPending;
  using Photo = UnlockEvent::VaultPhoto;
  const auto ofTry = [](const Photo& photo) { return photo.kind != Photo::Kind::unlock; };
  for (const FileName& name : event.photoFiles) {
    // A photo found after a crash may be of a try: in doubt it stays.
    const auto known = std::ranges::find(event.vaultPhotos, name, &Photo::file);
    if (known != event.vaultPhotos.end() && !ofTry(*known)) continue;
    tries.photoFiles.push_back(name);
    if (known == event.vaultPhotos.end()) continue;
    // The copies under this identity are deleted: no further one is ever made.
    tries.vaultPhotos.push_back(*known);
    tries.vaultPhotos.back().state = Photo::State::waiting;
  }
  return tries;
}

Uuid UnlockHandling::begin(std::optional<Trigger> trigger) {
  UnlockEvent event;
  event.id = parts_.random.newUuid();
  event.date = parts_.scheduler.wallTime();
  event.resolved = false;
  event.trigger = std::move(trigger);
  currentUnlockID_ = pendingConfirm_ = event.id;
  parts_.history.add(event);
  // First whoever would miss us if this machine were switched off now, then the camera.
  parts_.collaborators.alertWatch.pending(watchedUnlock(event));
  parts_.photos.take(event.id, PhotoUse::occurrence);
  parts_.reports.hold(event, parts_.alertDelay());
  parts_.extras.begin(event.id, false);
  if (event.trigger) parts_.collaborators.push.send(noticeOf(*event.trigger));
  notifier_.occurred(event);
  return event.id;
}

void UnlockHandling::fold(const Uuid& event, const Trigger& trigger) {
  parts_.history.change(event, [&](UnlockEvent& into) {
    ++into.watchedOpenings;
    into.alsoOpened.push_back(trigger);
  });
  parts_.photos.take(event, PhotoUse::opening);
  parts_.collaborators.push.send(noticeOf(trigger));
  parts_.extras.begin(event, true);
}

bool UnlockHandling::confirm(const Uuid& id) {
  const EventRef event = parts_.history.find(id);
  if (!event || event->resolved) return false;
  answered(id);
  parts_.photos.keepNames(*event);
  parts_.photos.endAllButTries(id);
  settle(*event);
  parts_.collaborators.unlockLog.record(id, event->date, UnlockLogging::Outcome::confirmed,
                                        event->wrongPINs + event->wrongAnswers);

  std::vector<FileName> gone = event->files();
  if (auto tries = attemptsOf(*parts_.history.find(id))) {
    std::erase_if(gone, [&](const FileName& name) {
      return std::ranges::find(tries->photoFiles, name) != tries->photoFiles.end();
    });
    parts_.history.change(id, [&](UnlockEvent& left) { left = std::move(*tries); });
  } else {
    parts_.photos.end(id);
    parts_.history.remove(id);
  }
  parts_.files.removeOnceRecorded(std::move(gone));
  return true;
}

bool UnlockHandling::keep(const Uuid& id) {
  const EventRef event = parts_.history.find(id);
  if (!event || event->resolved) return false;
  answered(id);
  parts_.reports.releaseNow(id);  // recorded as owed first: a crash in between asks once more
  parts_.history.change(id, [](UnlockEvent& kept) { kept.resolved = true; });
  return true;
}

bool UnlockHandling::remove(const Uuid& id) {
  const EventRef event = parts_.history.find(id);
  if (!event) return false;
  if (!event->resolved) parts_.reports.logUnconfirmed(*event);
  answered(id);
  parts_.photos.end(id);
  settle(*event);
  parts_.history.remove(id);
  parts_.files.removeOnceRecorded(event->files());
  return true;
}

void UnlockHandling::removeFiles() {
  for (const EventRef& event : parts_.history.events()) parts_.photos.keepNames(*event);
  parts_.files.removeOnceRecorded(dropFiles(parts_.history));
}

void UnlockHandling::removeAll(std::function<void(PhotoVault::DeletedAll)> done) {
  for (const EventRef& event : parts_.history.events()) {
    if (!event->resolved) parts_.reports.logUnconfirmed(*event);
    parts_.photos.end(event->id);
    settle(*event);
  }
  currentUnlockID_.reset();
  pendingConfirm_.reset();
  parts_.history.clear();
  parts_.files.removeAllBut([this] { return parts_.history.events(); }, std::move(done));
}

void UnlockHandling::settle(const UnlockEvent& event) {
  parts_.reports.settle(event.id);
  parts_.copies.settle(event);
  parts_.extras.end(event.id);
  notifier_.settled(event.id);
}

void UnlockHandling::answered(const Uuid& event) {
  if (pendingConfirm_ == event) pendingConfirm_.reset();
  if (currentUnlockID_ == event) currentUnlockID_.reset();
  notifier_.settled(event);
}

void UnlockHandling::resume() {
  for (const EventRef& event : parts_.history.events()) {
    if (!event->resolved && !event->attemptOnly) pendingConfirm_ = event->id;
  }
}

void UnlockHandling::stopAsking() {
  if (const auto asked = std::exchange(pendingConfirm_, std::nullopt)) notifier_.settled(*asked);
}

EventRef UnlockHandling::current() const {
  if (!currentUnlockID_) return nullptr;
  const Uuid& id = *currentUnlockID_;
  const bool handled = parts_.photos.underWay(id) || parts_.reports.holding(id);
  return handled ? parts_.history.find(id) : nullptr;
}

}  // namespace brindle
