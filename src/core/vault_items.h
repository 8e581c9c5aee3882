#pragma once

#include <vector>

#include "core/unlock_event.h"

namespace brindle {

/// How far the copies of an event have got. An item whose photo the owner deleted before it could
/// be copied has no say.
VaultState vaultStateOf(const std::vector<UnlockEvent::VaultPhoto>& photos);

/// Takes the names of files that the event does not show any more out of those items whose copy is
/// not on its way, and returns them.
std::vector<FileName> dropUnshownItems(UnlockEvent& event);

}  // namespace brindle
