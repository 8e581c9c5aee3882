#pragma once

#include <string_view>

namespace brindle {

/// True for the desktop's own indexers, thumbnail makers and backup programs, which open
/// everything: by the name of the program, and only where nobody but the system's administrator
/// puts programs, so that a program in somebody's own folder cannot pass for one by its name.
bool isKnownOpener(std::string_view executable);

}  // namespace brindle
