#include "app/instance_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/file_step.h"

namespace brindle {
namespace {

std::string reason(const std::string& what, const std::string& path) {
  return what + " " + path + ": " + std::strerror(errno);
}

}  // namespace

std::optional<std::string> makePrivateFolder(const std::string& path) {
  for (auto slash = path.find('/', 1); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    const std::string above = path.substr(0, slash);
    if (mkdir(above.c_str(), 0700) != 0 && errno != EEXIST) return reason("cannot make", above);
  }
  if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) return reason("cannot make", path);
  struct stat found {};
  if (lstat(path.c_str(), &found) != 0) return reason("cannot look at", path);
  if (!S_ISDIR(found.st_mode)) return path + " is no folder";
  if (found.st_uid != geteuid()) return path + " belongs to another user";
  if ((found.st_mode & 077) != 0 && chmod(path.c_str(), 0700) != 0) {
    return reason("cannot make private", path);
  }
  return std::nullopt;
}

InstanceLock::Outcome InstanceLock::take(const std::string& path) {
  if (auto why = makePrivateFolder(folderOf(path))) {
    problem_ = *why;
    return Outcome::failed;
  }
  constexpr int flags = O_CLOEXEC | O_NOFOLLOW;
  Descriptor file(open(path.c_str(), O_RDWR | O_CREAT | flags, 0600));
  // A disk that became read-only is no reason to leave the machine unguarded.
  if (!file && errno == EROFS) file = Descriptor(open(path.c_str(), O_RDONLY | flags));
  if (!file) {
    problem_ = reason("cannot open", path);
    return Outcome::failed;
  }
  if (flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) return Outcome::heldByAnother;
    problem_ = reason("cannot lock", path);
    return Outcome::failed;
  }
  file_ = std::move(file);
  return Outcome::taken;
}

}  // namespace brindle
