#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/uuid.h"

namespace brindle {

// How the vault's client keeps what it has to know in the next run. What cannot be read is left
// out.

std::string idsText(std::span<const Uuid> ids);
std::vector<Uuid> readIds(std::string_view text);

/// Events and their accounts' addresses; each address is written once.
std::string accountsText(const std::map<Uuid, std::string>& accounts);
std::map<Uuid, std::string> readAccounts(std::string_view text);

}  // namespace brindle
