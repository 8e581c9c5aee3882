#include "core/event_history.h"

#include <algorithm>
#include <utility>

#include "core/vault_items.h"

namespace brindle {

void EventHistory::load(EventList events) {
  events_ = std::move(events);
  places_.clear();
  indexFrom(0);
}

EventRef EventHistory::find(const Uuid& id) const {
  const auto place = places_.find(id);
  return place == places_.end() ? nullptr : events_[place->second];
}

EventList EventHistory::unresolved() const {
  EventList open;
  std::ranges::copy_if(events_, std::back_inserter(open),
                       [](const EventRef& event) { return !event->resolved; });
  return open;
}

void EventHistory::add(UnlockEvent event) {
  events_.push_back(std::make_shared<const UnlockEvent>(std::move(event)));
  indexFrom(events_.size() - 1);
  changed_();
}

bool EventHistory::change(const Uuid& id, const std::function<void(UnlockEvent&)>& edit) {
  const auto place = places_.find(id);
  if (place == places_.end()) return false;
  auto next = std::make_shared<UnlockEvent>(*events_[place->second]);
  edit(*next);
  if (*next == *events_[place->second]) return true;
  events_[place->second] = std::move(next);
  changed_();
  return true;
}

bool EventHistory::remove(const Uuid& id) {
  const auto place = places_.find(id);
  if (place == places_.end()) return false;
  const std::size_t at = place->second;
  places_.erase(place);
  events_.erase(events_.begin() + static_cast<std::ptrdiff_t>(at));
  indexFrom(at);
  changed_();
  return true;
}

void EventHistory::clear() {
  events_.clear();
  places_.clear();
  changed_();
}

void EventHistory::indexFrom(std::size_t first) {
  for (std::size_t i = first; i < events_.size(); ++i) places_[events_[i]->id] = i;
}

std::vector<FileName> dropFiles(EventHistory& history) {
  using Photo = UnlockEvent::VaultPhoto;
  std::vector<FileName> gone;
  for (const EventRef& event : EventList(history.events())) {
    UnlockEvent bare = *event;
    bare.photoFiles.clear();
    bare.openingPhotos.clear();
    bare.openingClips.clear();
    bare.videoFile.reset();
    (void)dropUnshownItems(bare);
    if (!bare.vaultPhotos.empty()) bare.vault = vaultStateOf(bare.vaultPhotos);
    const auto untouched = [](const Photo& item) { return item.state == Photo::State::waiting; };
    if (std::ranges::all_of(bare.vaultPhotos, untouched)) bare.vaultPhotos.clear();
    const std::vector<FileName> kept = bare.files();
    std::ranges::copy_if(event->files(), std::back_inserter(gone), [&](const FileName& name) {
      return std::ranges::find(kept, name) == kept.end();
    });
    history.change(event->id, [&bare](UnlockEvent& changed) { changed = std::move(bare); });
  }
  return gone;
}

std::size_t closeUnfinished(EventHistory& history) {
  EventList pending;
  std::ranges::copy_if(history.events(), std::back_inserter(pending),
                       [](const EventRef& event) { return event->photoPending; });
  for (const EventRef& event : pending) {
    history.change(event->id, [](UnlockEvent& open) {
      open.photoPending = false;
      if (open.photoFiles.empty()) open.photoProblem = PhotoProblem::closedEarly;
    });
  }
  return pending.size();
}

}  // namespace brindle
