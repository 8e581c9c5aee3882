#pragma once

#include <sched.h>
#include <sys/mount.h>

#include <string>
#include <vector>

namespace brindle {

/// Small disks that only this process sees, gone with the object; mounts of its own need root.
class PrivateMounts {
 public:
  PrivateMounts()
      : own_(::unshare(CLONE_NEWNS) == 0 &&
             ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0) {}
  PrivateMounts(const PrivateMounts&) = delete;
  PrivateMounts& operator=(const PrivateMounts&) = delete;
  ~PrivateMounts() {
    for (const auto& each : mounted_) ::umount2(each.c_str(), MNT_DETACH);
  }
  /// A disk of 1 MB over the folder `path`.
  bool add(const std::string& path) {
    if (!own_ || ::mount("tmpfs", path.c_str(), "tmpfs", 0, "size=1m") != 0) return false;
    mounted_.push_back(path);
    return true;
  }
  const char* missing() const { return own_ ? nullptr : "mounts of its own need root"; }

 private:
  bool own_;
  std::vector<std::string> mounted_;
};

}  // namespace brindle
