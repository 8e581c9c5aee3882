#include "platform/posix/files_below_posix.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <vector>

namespace brindle {
namespace fs = std::filesystem;

namespace {

void lookInto(const std::string& folder, std::vector<std::string>& deeper,
              const std::function<void(const std::string& path)>& each) {
  std::error_code failed;
  fs::directory_iterator at(folder, failed);
  // One that is taken away meanwhile ends the look into it, and into no other.
  for (; !failed && at != fs::directory_iterator(); at.increment(failed)) {
    std::error_code unknown;
    const fs::file_status status = at->symlink_status(unknown);
    if (fs::is_directory(status)) deeper.push_back(at->path().native());
    if (fs::is_regular_file(status)) each(at->path().native());
  }
}

}  // namespace

void filesBelow(const std::string& folder, std::span<const std::string> exclusions,
                const std::function<void(const std::string& path)>& each) {
  std::vector<std::string> folders{folder};
  while (!folders.empty()) {
    const std::string next = std::move(folders.back());
    folders.pop_back();
    if (std::ranges::find(exclusions, next) == exclusions.end()) lookInto(next, folders, each);
  }
}

}  // namespace brindle
