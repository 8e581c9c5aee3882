#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>

#include "base/times.h"
#include "platform/service_report.h"

namespace brindle {

/// When files were last opened, and by whom. Any thread; blocking, but only for a moment.
class OpenedFiles {
 public:
  virtual ~OpenedFiles() = default;
  /// When the file was last opened by somebody: the attribute that the system keeps, or the last
  /// opening that a running stream of `FileEvents` saw. None when there is no such date.
  virtual std::optional<WallTime> lastUsed(const std::string& path) = 0;
  /// The programs that hold these files open right now, as paths of their executables, one a file:
  /// whoever opened and closed quickly is gone. Empty where the system does not tell.
  virtual std::map<std::string, std::string> openers(std::span<const std::string> paths) = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
