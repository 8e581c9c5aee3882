#pragma once

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "platform/file_events.h"

namespace brindle {

/// What a stream cannot observe, and why. Any thread. Bounded: once a limit of the system is met,
/// every further folder meets it.
class UnobservedPaths {
 public:
  static constexpr std::size_t most = 64;

  void add(std::string path, std::string why) {
    const std::lock_guard lock(mutex_);
    const bool known =
        std::ranges::any_of(all_, [&](const auto& each) { return each.path == path; });
    if (!known && all_.size() < most) all_.push_back({std::move(path), std::move(why)});
  }
  std::vector<UnobservedPath> all() const {
    const std::lock_guard lock(mutex_);
    return all_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<UnobservedPath> all_;
};

/// The words for a person for an error's number; `limit` names what an exhausted system lacks.
inline std::string whyUnobserved(int error, const std::string& limit) {
  switch (error) {
    case ENOSPC:
      return "the system's limit " + limit + " is reached";
    case EACCES:
    case EPERM:
      return "permission denied";
    case ENOENT:
    case ENOTDIR:
      return "it is not there";
    default:
      return std::strerror(error);
  }
}

/// Its file system does not work together with this way of observing, but another may.
inline bool refusedByFileSystem(int error) {
  return error == ENODEV || error == EOPNOTSUPP || error == EXDEV;
}

}  // namespace brindle
