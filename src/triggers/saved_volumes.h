#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/audio_output.h"

namespace brindle {

// The owner's volumes as they are kept in the preferences while outputs are louder than that.

std::string writeSavedVolumes(const std::vector<SavedVolume>& volumes);
/// None: the text is no such list. A record that cannot be read costs only itself.
std::optional<std::vector<SavedVolume>> readSavedVolumes(const std::string& json);

}  // namespace brindle
