#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "vault/photo_key.h"

namespace brindle {

/// What an upload is labelled with at the system: all that a later run needs to know of it.
struct UploadLabel {
  PhotoKey key;
  Uuid photo;
  std::string blob;  ///< the file's name in the temporary folder

  std::string text() const;
  /// Nothing for a label that is none of ours.
  static std::optional<UploadLabel> parse(std::string_view text);
};

/// "vault-<UUID>.blob", and whether a file has such a name.
std::string blobName(const Uuid& id);
bool isBlobName(std::string_view name);

}  // namespace brindle
