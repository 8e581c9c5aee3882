#include "core/occurrence_extras.h"

namespace brindle {

void OccurrenceExtras::begin(const Uuid& event, bool opening) {
  const ClipRecording::Wish wish = collaborators_.clips.wish();
  const bool location = !opening && collaborators_.locator.wanted();
  log_.notice(
      "clip wanted %{bool,public}d, sound %{bool,public}d, location %{bool,public}d, "
      "state %{public}s",
      wish.wanted, wish.sound, location, wish.state);
  if (wish.wanted) {
    clipTasks_.insert(event);
    collaborators_.clips.record(
        event, lifetime_.guard([this, event, opening](const ClipRecording::Clip& clip) {
          clipDone(event, opening, clip);
        }));
  }
  if (location) locate(event);
}

void OccurrenceExtras::locate(const Uuid& event) {
  locationTasks_[event] = collaborators_.locator.locate(
      lifetime_.guard([this, event](std::optional<UnlockLocation> place) {
        const auto task = locationTasks_.extract(event);
        if (!place) return;
        history_.change(event, [&](UnlockEvent& changed) { changed.location = std::move(place); });
      }));
}

void OccurrenceExtras::clipDone(const Uuid& event, bool opening, const ClipRecording::Clip& clip) {
  if (const auto task = clipTasks_.find(event); task != clipTasks_.end()) clipTasks_.erase(task);
  if (!clip.file || clip.cancelled) {
    log_.notice("clip not kept: saved %{bool,public}d, cancelled %{bool,public}d",
                clip.file.has_value(), clip.cancelled);
    if (clip.file) files_.remove({*clip.file});
  } else if (!attach(event, opening, *clip.file)) {
    log_.notice("clip saved but its unlock is gone or already has one: removed");
    files_.remove({*clip.file});
  } else {
    log_.notice("clip attached to the unlock");
    if (clip.sound) clipsWithSound_.insert(event);
    if (onClip) onClip(event);
  }
}

bool OccurrenceExtras::attach(const Uuid& event, bool opening, const FileName& file) {
  const EventRef known = history_.find(event);
  if (!known || known->attemptOnly || (!opening && known->videoFile)) return false;
  return history_.change(event, [&](UnlockEvent& changed) {
    if (opening) {
      changed.openingClips.push_back(file);
    } else {
      changed.videoFile = file;
    }
  });
}

void OccurrenceExtras::end(const Uuid& event) {
  locationTasks_.erase(event);
  clipsWithSound_.erase(event);
  if (clipTasks_.contains(event)) collaborators_.clips.cancel(event);
}

void OccurrenceExtras::endAll() {
  locationTasks_.clear();
  const std::set<Uuid> recording(clipTasks_.begin(), clipTasks_.end());
  for (const Uuid& event : recording) collaborators_.clips.cancel(event);
}

}  // namespace brindle
