#include "core/vault_items.h"

#include <algorithm>
#include <utility>

namespace brindle {

VaultState vaultStateOf(const std::vector<UnlockEvent::VaultPhoto>& photos) {
  using Photo = UnlockEvent::VaultPhoto;
  const auto any = [&photos](Photo::State state) {
    return std::ranges::any_of(photos, [state](const Photo& photo) {
      return photo.state == state && (state != Photo::State::waiting || !photo.file.empty());
    });
  };
  if (any(Photo::State::queued)) return VaultState::queued;
  if (any(Photo::State::waiting)) return VaultState::none;
  if (any(Photo::State::rejected)) return VaultState::rejected;
  return any(Photo::State::saved) ? VaultState::saved : VaultState::none;
}

std::vector<FileName> dropUnshownItems(UnlockEvent& event) {
  UnlockEvent shown = event;
  shown.vaultPhotos.clear();
  const std::vector<FileName> names = shown.files();
  std::vector<FileName> gone;
  for (UnlockEvent::VaultPhoto& photo : event.vaultPhotos) {
    const bool kept = photo.state == UnlockEvent::VaultPhoto::State::queued;
    if (kept || photo.file.empty() || std::ranges::find(names, photo.file) != names.end()) continue;
    gone.push_back(std::exchange(photo.file, {}));
  }
  return gone;
}

}  // namespace brindle
