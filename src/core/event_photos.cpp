#include "core/event_photos.h"

#include <algorithm>
#include <utility>

namespace brindle {
namespace {

bool isTry(PhotoUse use) { return use == PhotoUse::wrongPIN || use == PhotoUse::wrongAnswer; }

UnlockEvent::VaultPhoto::Kind vaultKind(PhotoUse use) {
  using Kind = UnlockEvent::VaultPhoto::Kind;
  if (use == PhotoUse::wrongPIN) return Kind::wrongPIN;
  return use == PhotoUse::wrongAnswer ? Kind::wrongPassword : Kind::unlock;
}

}  // namespace

void EventPhotos::take(const Uuid& event, PhotoUse use) {
  const RunId id = ++lastRun_;
  Run& run = captureTask_[id];
  run.event = event;
  run.use = use;
  run.startedAt = parts_.clock.uptime();
  if (parts_.camera.cameraAllowed()) {
    start(id);
  } else {
    run.over = true;
  }
  parts_.history.change(event, [](UnlockEvent& changed) { changed.photoPending = true; });
  finishIfOver(id);
}

void EventPhotos::start(RunId id) {
  Run& run = captureTask_.at(id);
  // The start is asked for by itself, so that its time shows; the series waits for it anyway.
  parts_.camera.start(lifetime_.guard([this, since = run.startedAt] {
    parts_.log.notice("camera started in %{public}ld ms", millisecondsSince(since));
  }));
  const int wanted = run.use == PhotoUse::occurrence ? wantedOfOccurrence : wantedOfOthers;
  run.series = parts_.camera.takePhoto(
      wanted, lifetime_.guard([this, id](CapturedPhoto photo) { firstCame(id, std::move(photo)); }),
      lifetime_.guard(
          [this, id](std::vector<CapturedPhoto> photos) { seriesEnded(id, std::move(photos)); }));
}

void EventPhotos::firstCame(RunId id, CapturedPhoto photo) {
  const auto run = captureTask_.find(id);
  if (run == captureTask_.end()) return;
  run->second.firstFiled = true;
  run->second.result = {CapturedPhoto{{}, photo.brightness, photo.takenAt, true}};
  file(id, std::move(photo.jpeg), photo.takenAt);
}

void EventPhotos::seriesEnded(RunId id, std::vector<CapturedPhoto> photos) {
  const auto found = captureTask_.find(id);
  if (found == captureTask_.end()) return;
  Run& run = found->second;
  run.over = true;
  const bool firstFiled = run.firstFiled;
  if (!photos.empty()) run.result.clear();
  for (CapturedPhoto& photo : photos) {
    run.result.push_back({{}, photo.brightness, photo.takenAt, photo.first});
    const bool filedAlready = photo.first && firstFiled;
    if (!filedAlready) file(id, std::move(photo.jpeg), photo.takenAt);
  }
  finishIfOver(id);
}

void EventPhotos::file(RunId id, Bytes jpeg, WallTime takenAt) {
  Run& run = captureTask_.at(id);
  ++run.writing;
  const FileName name = nextName(run.event);
  parts_.files.save(name, std::move(jpeg), lifetime_.guard([this, id, name, takenAt](bool written) {
    filed(id, name, takenAt, written);
  }));
}

void EventPhotos::filed(RunId id, const FileName& name, WallTime takenAt, bool written) {
  const auto found = captureTask_.find(id);
  if (found == captureTask_.end() || !parts_.history.find(found->second.event)) {
    if (written) parts_.files.remove({name});  // its event has no use for it any more
  } else {
    --found->second.writing;
    if (written) {
      addToEvent(found->second, name, takenAt);
    } else if (found->second.saved == 0) {
      found->second.firstFiled = false;  // the end of the series may bring it again
    }
  }
  finishIfOver(id);
}

void EventPhotos::addToEvent(Run& run, const FileName& name, WallTime takenAt) {
  const UnlockEvent::VaultPhoto vaultPhoto{name, parts_.random.newUuid(), takenAt,
                                           vaultKind(run.use),
                                           UnlockEvent::VaultPhoto::State::waiting};
  const bool opening = run.use == PhotoUse::opening;
  parts_.history.change(run.event, [&](UnlockEvent& event) {
    (opening ? event.openingPhotos : event.photoFiles).push_back(name);
    event.vaultPhotos.push_back(vaultPhoto);
  });
  if (onPhoto) onPhoto(run.event);
  if (run.saved++ > 0) return;
  parts_.log.notice("photo saved in %{public}ld ms", millisecondsSince(run.startedAt));
  if (!opening && onFirstPhoto) onFirstPhoto(run.event, name);
}

void EventPhotos::finishIfOver(RunId id) {
  const auto found = captureTask_.find(id);
  if (found == captureTask_.end() || !found->second.over || found->second.writing > 0) return;
  const Run run = std::move(found->second);
  captureTask_.erase(found);
  finish(run);
}

void EventPhotos::finish(const Run& run) {
  const std::optional<PhotoProblem> problem = problemOf(run);
  const bool pending = underWay(run.event);
  if (run.saved == 0 && problem != PhotoProblem::cameraDenied) {
    parts_.log.notice("no photo in %{public}ld ms", millisecondsSince(run.startedAt));
  }
  parts_.history.change(run.event, [&](UnlockEvent& event) {
    event.photoPending = pending;
    // The problem is the event's own: a try or an opening during an unlock has no say in it.
    const bool own = run.use == PhotoUse::occurrence || (isTry(run.use) && event.attemptOnly);
    const bool worse = problem && run.saved == 0 && event.photoFiles.size() > 0;
    if (own && !worse) event.photoProblem = problem;
  });
}

std::optional<PhotoProblem> EventPhotos::problemOf(const Run& run) const {
  return photoProblemOf(parts_.camera.cameraAllowed(), run.result, run.saved > 0);
}

void EventPhotos::endAllButTries(const Uuid& event) {
  drop([&](const Run& run) { return run.event == event && !isTry(run.use); });
  const bool pending = underWay(event);
  parts_.history.change(event, [&](UnlockEvent& changed) { changed.photoPending = pending; });
}

void EventPhotos::end(const Uuid& event) {
  drop([&](const Run& run) { return run.event == event; });
  nextIndex_.erase(event);
}

void EventPhotos::drop(const std::function<bool(const Run&)>& which) {
  std::erase_if(captureTask_, [&](const auto& entry) { return which(entry.second); });
}

void EventPhotos::stopTaking() {
  for (auto& [id, run] : captureTask_) {
    run.series.end();
    run.over = true;
  }
  // A run with nothing to write stays unjudged: its series was cut short, it did not fail.
  drop([](const Run& run) { return run.writing == 0; });
}

bool EventPhotos::underWay(const Uuid& event) const {
  return std::ranges::any_of(captureTask_,
                             [&](const auto& entry) { return entry.second.event == event; });
}

FileName EventPhotos::nextName(const Uuid& event) {
  if (const EventRef known = parts_.history.find(event)) keepNames(*known);
  return photoFileName(event, nextIndex_[event]++);
}

void EventPhotos::keepNames(const UnlockEvent& event) {
  std::size_t& next = nextIndex_[event.id];
  next = std::max(next, nextPhotoIndex(event));
}

long EventPhotos::millisecondsSince(Duration start) const {
  // Both readings are cut to milliseconds before they are compared.
  return millisecondsOf(parts_.clock.uptime()) - millisecondsOf(start);
}

}  // namespace brindle
