#pragma once

#include <optional>
#include <string_view>

#include "vault/vault_opener.h"

namespace brindle {

/// The header's text; `photoAt` is left alone.
[[nodiscard]] Result<SealedHeader, OpeningFailure> readSealedHeaderText(std::string_view text);

/// The metadata as it was sealed. Nothing when a fact that every sealing writes cannot be read.
std::optional<VaultMeta> readVaultMeta(std::string_view text);

}  // namespace brindle
