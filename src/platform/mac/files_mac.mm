#include <fcntl.h>
#include <unistd.h>

#include <utility>

#include "platform/mac/mac_backends.h"

namespace brindle {
namespace {

/// fsync of macOS stops at the drive, which may keep the data in its cache; only F_FULLFSYNC asks
/// the drive as well. File systems that do not know it (network volumes) get the plain flush.
int flushToTheDrive(int descriptor) {
  if (fcntl(descriptor, F_FULLFSYNC) == 0) return 0;
  return fsync(descriptor);
}

}  // namespace

std::unique_ptr<PosixFiles> makeMacFiles(std::string home) {
  return std::make_unique<PosixFiles>(std::move(home), flushToTheDrive);
}

}  // namespace brindle
