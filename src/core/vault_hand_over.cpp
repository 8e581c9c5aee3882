#include "core/vault_hand_over.h"

#include <algorithm>
#include <utility>

#include "core/stored_ids.h"
#include "core/vault_items.h"

namespace brindle {
namespace {

using Photo = UnlockEvent::VaultPhoto;
using Ended = VaultUploading::Ended;

bool isOpen(const Photo& photo) {
  return photo.state == Photo::State::waiting || photo.state == Photo::State::queued;
}

bool isQueued(const Photo& photo) { return photo.state == Photo::State::queued; }

Photo::State stateAfter(Ended how) {
  switch (how) {
    case Ended::saved:
      return Photo::State::saved;
    case Ended::rejected:
      return Photo::State::rejected;
    case Ended::dropped:
      return Photo::State::waiting;
  }
  return Photo::State::waiting;
}

/// Of a photo that a start found without its record. In doubt it is of a try, as for the owner's
/// "That was me".
Photo::Kind kindOfFound(const UnlockEvent& event) {
  if (event.wrongPINs > 0) return Photo::Kind::wrongPIN;
  return event.wrongAnswers > 0 ? Photo::Kind::wrongPassword : Photo::Kind::unlock;
}

}  // namespace

VaultHandOver::VaultHandOver(const Parts& parts)
    : parts_(parts),
      owed_(readStoredIds(parts.defaults, owedKey)),
      results_(parts.uploads.onResult(
          [this](const Uuid& event, const Uuid& photo, Ended how) { ended(event, photo, how); })) {}

void VaultHandOver::released(const Uuid& event) {
  if (owed_.insert(event).second) store();
  offer(event);
  // Behind its record: a crash in between offers it once more.
  parts_.saving.whenRecorded(lifetime_.guard([this, event] {
    if (owed_.erase(event) > 0) store();
  }));
}

void VaultHandOver::itemCame(const Uuid& id) {
  const EventRef event = parts_.history.find(id);
  if (!event || settled_.contains(id)) return;
  const auto& reports = parts_.reports;
  const bool over = event->alert != AlertState::none || reports.owed(id) || reports.notWanted(id);
  if (over) offer(id);
}

void VaultHandOver::resume() {
  for (const EventRef& event : EventList(parts_.history.events())) {
    if (owed_.contains(event->id)) {
      released(event->id);
    } else if (std::ranges::any_of(event->vaultPhotos, isQueued)) {
      offer(event->id);
    }
  }
  const auto gone = [this](const Uuid& id) { return !parts_.history.find(id); };
  if (std::erase_if(owed_, gone) > 0) store();
}

void VaultHandOver::settle(const UnlockEvent& event) {
  settled_.insert(event.id);
  if (owed_.erase(event.id) > 0) store();
  parts_.uploads.deleteCopies(event);
  for (const FileName& name : std::exchange(handedOut_[event.id], {})) {
    parts_.vault.giveBack(name);
  }
  handedOut_.erase(event.id);
}

void VaultHandOver::offer(const Uuid& id) {
  const EventRef event = parts_.history.find(id);
  if (!event) return;
  UnlockEvent offered = *event;
  nameItems(offered);
  const std::vector<Uuid> taken = parts_.uploads.keepCopies(offered);
  if (taken.empty()) offered = *event;  // nobody needs the names
  for (Photo& photo : offered.vaultPhotos) {
    if (!isOpen(photo)) continue;
    const bool its = !photo.file.empty() && std::ranges::find(taken, photo.id) != taken.end();
    photo.state = its ? Photo::State::queued : Photo::State::waiting;
  }
  parts_.history.change(id, [&offered](UnlockEvent& changed) {
    changed.vaultPhotos = std::move(offered.vaultPhotos);
    changed.vault = vaultStateOf(changed.vaultPhotos);
  });
  holdFiles(id);
}

/// Every file gets an identity and, at the end, a place among the items: those in front keep
/// theirs.
void VaultHandOver::nameItems(UnlockEvent& event) {
  const auto photo = kindOfFound(event);
  const auto name = [&](const FileName& file, Photo::Kind kind) {
    if (std::ranges::find(event.vaultPhotos, file, &Photo::file) != event.vaultPhotos.end()) return;
    event.vaultPhotos.push_back(
        {file, parts_.random.newUuid(), event.date, kind, Photo::State::waiting});
  };
  for (const FileName& file : event.photoFiles) name(file, photo);
  if (event.videoFile) name(*event.videoFile, Photo::Kind::unlock);
  for (const FileName& file : event.openingPhotos) name(file, Photo::Kind::unlock);
  for (const FileName& file : event.openingClips) name(file, Photo::Kind::unlock);
}

void VaultHandOver::ended(const Uuid& id, const Uuid& photo, Ended how) {
  const EventRef event = parts_.history.find(id);
  if (!event) return;
  UnlockEvent next = *event;
  const auto item = std::ranges::find(next.vaultPhotos, photo, &Photo::id);
  if (item == next.vaultPhotos.end() || !isQueued(*item)) return;
  item->state = stateAfter(how);
  std::vector<FileName> gone = dropUnshownItems(next);
  next.vault = vaultStateOf(next.vaultPhotos);
  parts_.history.change(id, [&next](UnlockEvent& changed) { changed = std::move(next); });
  holdFiles(id);
  parts_.files.removeOnceRecorded(std::move(gone));
}

void VaultHandOver::holdFiles(const Uuid& id) {
  std::vector<FileName> queued;
  if (const EventRef event = parts_.history.find(id)) {
    for (const Photo& photo : event->vaultPhotos) {
      if (isQueued(photo)) queued.push_back(photo.file);
    }
  }
  // First the new ones: a file that is back for a moment may be gone.
  for (const FileName& name : queued) parts_.vault.handOut(name);
  for (const FileName& name : std::exchange(handedOut_[id], std::move(queued))) {
    parts_.vault.giveBack(name);
  }
  if (handedOut_[id].empty()) handedOut_.erase(id);
}

void VaultHandOver::store() {
  // When this fails it is owed in this run; after a crash the event's hold may not begin anew.
  (void)parts_.defaults.change({{std::string(owedKey), storedIds(owed_)}});
}

}  // namespace brindle
