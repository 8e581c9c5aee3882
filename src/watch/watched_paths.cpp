#include "watch/watched_paths.h"

#include <algorithm>

namespace brindle {

bool isInside(std::string_view path, std::string_view folder) {
  if (!path.starts_with(folder)) return false;
  return path.size() == folder.size() || folder.ends_with('/') || path[folder.size()] == '/';
}

ObservedPaths observedPaths(std::span<const OpenDetector::Watched> watched,
                            std::span<const std::string> busyFolders) {
  ObservedPaths paths;
  for (const auto& each : watched) {
    const bool folder = each.mode == OpenDetector::Mode::folder;
    (folder ? paths.folders : paths.files).push_back(each.path);
  }
  for (const std::string& busy : busyFolders) {
    const bool contained = std::ranges::any_of(paths.folders, [&](const std::string& folder) {
      return folder != busy && isInside(busy, folder);
    });
    const bool wanted =
        std::ranges::any_of(watched, [&](const auto& each) { return isInside(each.path, busy); });
    if (contained && !wanted) paths.exclusions.push_back(busy);
  }
  return paths;
}

}  // namespace brindle
