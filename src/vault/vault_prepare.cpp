#include "vault/vault_prepare.h"

#include <utility>

#include "core/device_notices.h"
#include "platform/file_step.h"

namespace brindle {
namespace {

std::string vaultKind(const UnlockEvent& event, UnlockEvent::VaultPhoto::Kind kind) {
  using Kind = UnlockEvent::VaultPhoto::Kind;
  if (kind != Kind::unlock) return std::string(vaultPhotoKindNames.of(kind));
  return event.trigger ? event.trigger->kind : "unlock";
}

}  // namespace

Upload uploadOf(const UnlockEvent& event, std::size_t index, const Machine& machine) {
  const UnlockEvent::VaultPhoto& photo = event.vaultPhotos[index];
  Upload upload;
  upload.eventID = event.id;
  upload.index = static_cast<std::int64_t>(index);
  upload.photoID = photo.id;
  VaultMeta& meta = upload.meta;
  meta.takenAt = photo.takenAt;
  meta.index = upload.index;
  meta.kind = vaultKind(event, photo.kind);
  meta.wrongPINs = event.wrongPINs;
  meta.device = machine.model();
  meta.timeZone = machine.timeZone();
  if (auto name = machine.name(); !name.empty()) meta.deviceName = std::move(name);
  if (photo.file.ends_with(".mp4")) meta.mime = "video/mp4";
  if (event.location) {
    meta.lat = event.location->lat;
    meta.lon = event.location->lon;
    meta.place = event.location->place;
  }
  meta.target = watchedItemOf(event.trigger);
  return upload;
}

Prepared prepareUpload(Files& files, VaultCrypto& crypto, Upload upload, const std::string& photo,
                       std::span<const Bytes> recipients, const std::string& blob) {
  auto jpeg = files.read(photo);
  if (!jpeg) {
    const bool gone = jpeg.error().kind == FileError::Kind::notFound;
    return gone ? Prepared::unusable : Prepared::notWritten;
  }
  upload.jpeg = std::move(*jpeg);
  const auto sealed =
      crypto.seal(upload.jpeg, upload.meta, upload.photoID, upload.eventID, recipients);
  if (!sealed) return Prepared::unusable;
  const bool written = files.makeFolder(folderOf(blob)) && files.writeWhole(blob, sealed->blob);
  return written ? Prepared::ready : Prepared::notWritten;
}

}  // namespace brindle
