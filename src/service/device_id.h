#pragma once

#include <string>

#include "platform/preferences.h"
#include "platform/random.h"

namespace brindle {

/// The name by which the service knows this machine: an identifier drawn once and kept. One that
/// could not be stored is used all the same, and drawn again by the next run.
std::string deviceId(Preferences& preferences, Random& random);

}  // namespace brindle
