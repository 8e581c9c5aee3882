#include "platform/linux/file_identity_look.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include <array>
#include <cstring>

#include "platform/posix/descriptor.h"

namespace brindle {
namespace {

void addHandle(int descriptor, FileIdentity& identity) {
  alignas(file_handle) std::array<std::uint8_t, sizeof(file_handle) + MAX_HANDLE_SZ> room{};
  auto* const handle = reinterpret_cast<file_handle*>(room.data());
  handle->handle_bytes = MAX_HANDLE_SZ;
  int mount = 0;
  if (name_to_handle_at(descriptor, "", handle, &mount, AT_EMPTY_PATH) != 0) return;
  const ByteView bytes(room.data() + sizeof(file_handle), handle->handle_bytes);
  identity.handleType = handle->handle_type;
  identity.handle.assign(bytes.begin(), bytes.end());
}

}  // namespace

Result<FileIdentity, int> lookAtIdentity(const std::string& path) {
  const Descriptor file(
      uninterrupted([&] { return ::open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC); }));
  struct stat status {};
  struct statfs system {};
  if (!file || ::fstat(file.get(), &status) != 0 || ::fstatfs(file.get(), &system) != 0) {
    return Failure(errno);
  }
  if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) return Failure(EINVAL);
  FileIdentity identity;
  identity.kind = S_ISDIR(status.st_mode) ? FileIdentity::Kind::folder : FileIdentity::Kind::file;
  identity.device = status.st_dev;
  identity.inode = status.st_ino;
  static_assert(sizeof system.f_fsid == sizeof identity.fileSystem);
  std::memcpy(&identity.fileSystem, &system.f_fsid, sizeof identity.fileSystem);
  addHandle(file.get(), identity);
  return identity;
}

}  // namespace brindle
