#pragma once

#include <span>
#include <string>
#include <string_view>

#include "platform/file_events.h"
#include "watch/open_detector.h"

namespace brindle {

/// True for the folder itself, too.
bool isInside(std::string_view path, std::string_view folder);

/// What a stream is to observe. Each of the `busyFolders`, where programs keep their own files and
/// never stop opening them, is left out of a watched folder that contains it, unless it or
/// something in it is watched itself.
ObservedPaths observedPaths(std::span<const OpenDetector::Watched> watched,
                            std::span<const std::string> busyFolders);

}  // namespace brindle
