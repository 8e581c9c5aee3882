#pragma once

#include <functional>
#include <span>
#include <string>

namespace brindle {

/// Tells `each` the path of every file below the folder, leaving out what lies in `exclusions`.
/// Symbolic links are not followed, and what may not be read is left out. Any thread; blocking, as
/// long as the tree is large.
using FilesBelow =
    std::function<void(const std::string& folder, std::span<const std::string> exclusions,
                       const std::function<void(const std::string& path)>& each)>;

}  // namespace brindle
