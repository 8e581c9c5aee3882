#include "platform/linux/mount_watch.h"

#include <fcntl.h>

#include <array>
#include <sstream>
#include <utility>

namespace brindle {
namespace {

std::string contents(int file) {
  std::string all;
  std::array<char, 4096> part;
  lseek(file, 0, SEEK_SET);
  for (;;) {
    const auto size = uninterrupted([&] { return read(file, part.data(), part.size()); });
    if (size <= 0) return all;
    all.append(part.data(), static_cast<std::size_t>(size));
  }
}

/// proc_pid_mountinfo(5) writes blanks and backslashes as three octal digits.
std::string plain(const std::string& written) {
  std::string path;
  for (std::size_t at = 0; at < written.size(); ++at) {
    if (written[at] != '\\' || at + 3 >= written.size()) {
      path += written[at];
      continue;
    }
    const auto digit = [&](std::size_t n) { return written[at + n] - '0'; };
    path += static_cast<char>(digit(1) * 64 + digit(2) * 8 + digit(3));
    at += 3;
  }
  return path;
}

bool within(const std::string& path, const std::string& folder) {
  return path == folder || folder == "/" || path.starts_with(folder + "/");
}

}  // namespace

MountWatch::MountWatch(std::vector<std::string> paths)
    : table_(open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC)), paths_(std::move(paths)) {
  seen_ = look();
}

std::vector<std::string> MountWatch::look() {
  std::vector<std::string> found(paths_.size());
  std::istringstream lines(contents(table_.get()));
  for (std::string line; std::getline(lines, line);) {
    std::istringstream fields(line);
    std::string id, parent, device, root, point;
    fields >> id >> parent >> device >> root >> point;
    point = plain(point);
    for (std::size_t at = 0; at < paths_.size(); ++at) {
      if (within(paths_[at], point) || within(point, paths_[at])) found[at] += id + device + ' ';
    }
  }
  return found;
}

std::vector<std::string> MountWatch::changed() {
  std::vector<std::string> paths, now = look();
  for (std::size_t at = 0; at < now.size(); ++at) {
    if (now[at] != seen_[at]) paths.push_back(paths_[at]);
  }
  seen_ = std::move(now);
  return paths;
}

}  // namespace brindle
