#pragma once

#include <string>
#include <vector>

#include "platform/posix/descriptor.h"

namespace brindle {

/// The mounted file systems that decide what some paths are: on the way to them and below them.
class MountWatch {
 public:
  explicit MountWatch(std::vector<std::string> paths);

  /// POLLPRI comes up in it when anything is mounted or unmounted; negative where that is not told.
  int descriptor() const { return table_.get(); }
  /// The paths that are something else since the last look.
  std::vector<std::string> changed();

 private:
  std::vector<std::string> look();

  Descriptor table_;
  std::vector<std::string> paths_;
  std::vector<std::string> seen_;  ///< for each path, what lies above and below it
};

}  // namespace brindle
