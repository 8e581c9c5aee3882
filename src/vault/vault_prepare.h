#pragma once

#include <span>
#include <string>

#include "core/unlock_event.h"
#include "platform/files.h"
#include "platform/machine.h"
#include "vault/vault_crypto.h"

namespace brindle {

/// One item to send.
struct Upload {
  Uuid eventID;
  std::int64_t index = 0;
  Uuid photoID;
  Bytes jpeg;  ///< of the photo, or of the clip
  VaultMeta meta;
};

/// What comes of preparing an item.
enum class Prepared {
  ready,       ///< sealed, and whole on disk
  unusable,    ///< it can never be sent: nobody to seal it for, no photo, or it could not be sealed
  notWritten,  ///< the disk did not do its part: another try
};

/// The item at this place of the event's `vaultPhotos`, without its bytes.
Upload uploadOf(const UnlockEvent& event, std::size_t index, const Machine& machine);

/// Reads the photo, seals it and writes the blob. Blocking; for a worker.
Prepared prepareUpload(Files& files, VaultCrypto& crypto, Upload upload, const std::string& photo,
                       std::span<const Bytes> recipients, const std::string& blob);

}  // namespace brindle
