#pragma once

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "platform/file_events.h"
#include "platform/linux/file_events_kernel.h"

namespace brindle {

/// The words for a person for an error's number.
inline std::string whyUnobserved(int error, const KernelWatch& kernel) {
  switch (error) {
    case ENOSPC:
      return "the system's limit " + kernel.limit() + " is reached";
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

inline bool isLimit(int error) {
  return error == ENOSPC || error == ENOMEM || error == EMFILE || error == ENFILE;
}

/// Its file system does not work together with this way of observing, but another may.
inline bool refusedByFileSystem(int error) {
  return error == ENODEV || error == EOPNOTSUPP || error == EXDEV;
}

/// What a stream cannot observe, and why. Any thread. Bounded: once a limit of the system is met,
/// every further folder meets it.
class UnobservedPaths {
 public:
  static constexpr std::size_t most = 64;

  /// `part` names the openings that are not seen, where others are.
  void add(const std::string& path, int error, const KernelWatch& kernel,
           const std::string& part = {}) {
    const std::lock_guard lock(mutex_);
    if (!hasRoom(path, isLimit(error))) return;
    all_.push_back({path, part + whyUnobserved(error, kernel), !part.empty(), isLimit(error)});
  }
  void add(UnobservedPath unobserved) {
    const std::lock_guard lock(mutex_);
    if (hasRoom(unobserved.path, unobserved.limit)) all_.push_back(std::move(unobserved));
  }
  /// It is observed now.
  void remove(const std::string& path) {
    const std::lock_guard lock(mutex_);
    std::erase_if(all_, [&](const auto& each) { return each.path == path; });
  }
  std::vector<UnobservedPath> all() const {
    const std::lock_guard lock(mutex_);
    return all_;
  }

 private:
  /// A limit is told even if much else was before it.
  bool hasRoom(const std::string& path, bool limit) const {
    if (std::ranges::find(all_, path, &UnobservedPath::path) != all_.end()) return false;
    return all_.size() < most || (limit && std::ranges::none_of(all_, &UnobservedPath::limit));
  }

  mutable std::mutex mutex_;
  std::vector<UnobservedPath> all_;
};

}  // namespace brindle
