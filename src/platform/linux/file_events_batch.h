#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/file_events.h"
#include "platform/linux/file_events_kernel.h"
#include "platform/linux/opening_times.h"

namespace brindle {

/// What one turn of a stream saw, in the words of the interface.
class FileEventBatch {
 public:
  explicit FileEventBatch(OpeningTimes& times) : times_(times) {}

  /// All openings of a turn get the same time, so that one which the kernel tells twice, by its
  /// name and by the file itself, is one.
  void begin(WallTime now) { now_ = now; }
  WallTime now() const { return now_; }

  /// What came merged is several events: a removal does not hide the opening before it.
  void add(const std::string& path, std::uint32_t what) {
    const auto has = [what](std::uint32_t bit, std::uint32_t flag) {
      return what & bit ? flag : 0;
    };
    if ((what & KernelChange::opened) != 0) times_.record(path, now_);
    push(path, has(KernelChange::opened, file_event::itemXattrMod) |
                   has(KernelChange::created, file_event::itemCreated));
    push(path, has(KernelChange::movedHere | KernelChange::movedAway, file_event::itemRenamed) |
                   has(KernelChange::removed, file_event::itemRemoved));
  }
  void rootChanged(const std::string& path) { push(path, file_event::rootChanged); }
  void mustScan(const std::string& path, WallTime since) {
    times_.lost({since, now_});
    push(path, file_event::mustScanSubDirs);
  }
  std::vector<FileEvent> take() { return std::exchange(events_, {}); }

 private:
  void push(const std::string& path, std::uint32_t flags) {
    if (flags == 0) return;
    if (events_.empty() || events_.back() != FileEvent{path, flags})
      events_.push_back({path, flags});
  }

  OpeningTimes& times_;
  WallTime now_{};
  std::vector<FileEvent> events_;
};

}  // namespace brindle
