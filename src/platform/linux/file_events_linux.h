#pragma once

#include <memory>

#include "platform/file_events.h"
#include "platform/linux/opening_times.h"
#include "platform/scheduler.h"

namespace brindle {

/// fanotify where an ordinary user may use it, inotify elsewhere and for the file systems that
/// fanotify refuses.
class LinuxFileEvents final : public FileEvents {
 public:
  enum class Way { best, inotifyOnly };
  LinuxFileEvents(Scheduler& scheduler, OpeningTimes& times, Way way = Way::best)
      : scheduler_(scheduler), times_(times), way_(way) {}

  [[nodiscard]] Result<std::unique_ptr<FileEventStream>, std::string> open(
      const ObservedPaths& paths, Deliver deliver) override;
  /// By an opening of its own, seen by another observation than the streams'.
  [[nodiscard]] Subscription probe(const std::string& path,
                                   std::function<void(bool seen)> done) override;
  ServiceReport report() const override;

 private:
  Scheduler& scheduler_;
  OpeningTimes& times_;
  Way way_;
};

/// Opens the path and looks whether the kernel tells of it within a second. Blocks.
bool openingIsSeen(const std::string& path);

}  // namespace brindle
