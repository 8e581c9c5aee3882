#pragma once

#include "platform/linux/opening_times.h"
#include "platform/opened_files.h"

namespace brindle {

/// Openings as the streams saw them, and one look over the open descriptors of all processes of
/// this user. A file that several programs hold has no opener here: a known one must not hide an
/// unknown one.
class LinuxOpenedFiles final : public OpenedFiles {
 public:
  explicit LinuxOpenedFiles(const OpeningTimes& times) : times_(times) {}

  /// After a loss of events the file's time of access stands in for what was lost, where the file
  /// system keeps it.
  std::optional<WallTime> lastUsed(const std::string& path) override;
  std::map<std::string, std::string> openers(std::span<const std::string> paths) override;
  ServiceReport report() const override;

 private:
  const OpeningTimes& times_;
};

}  // namespace brindle
