#pragma once

#include <span>
#include <string>

#include "platform/files_below.h"

namespace brindle {

/// `FilesBelow` on the real file system.
void filesBelow(const std::string& folder, std::span<const std::string> exclusions,
                const std::function<void(const std::string& path)>& each);

}  // namespace brindle
