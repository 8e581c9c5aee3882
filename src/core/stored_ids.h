#pragma once

#include <optional>
#include <set>
#include <string_view>

#include "base/uuid.h"
#include "platform/preferences.h"

namespace brindle {

/// Identities kept as one text in the preferences. What is none in it is skipped.
std::set<Uuid> readStoredIds(const Preferences& defaults, std::string_view key);
/// For `Preferences::change`: nothing when there are none, so that the key goes.
std::optional<PreferenceValue> storedIds(const std::set<Uuid>& ids);

}  // namespace brindle
