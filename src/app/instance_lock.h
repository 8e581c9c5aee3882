#pragma once

#include <optional>
#include <string>

#include "platform/posix/descriptor.h"

namespace brindle {

/// The right to be the one Brindle that works on a data folder. The system gives it back however
/// the process ends, so there is no stale lock; the file itself stays.
class InstanceLock {
 public:
  enum class Outcome { taken, heldByAnother, failed };

  /// Makes the folder of `path` if it is missing.
  Outcome take(const std::string& path);
  /// Why it failed.
  const std::string& problem() const { return problem_; }

 private:
  Descriptor file_;
  std::string problem_;
};

/// Makes a folder and those above it, the last one private (0700). An existing last one must belong
/// to this user and be closed to others; otherwise, as when it cannot be made, the reason is
/// returned.
std::optional<std::string> makePrivateFolder(const std::string& path);

}  // namespace brindle
