#pragma once

#include <memory>
#include <vector>

#include "platform/file_events.h"
#include "platform/linux/file_events_files.h"
#include "platform/linux/file_events_folders.h"
#include "platform/linux/file_events_places.h"

namespace brindle {

/// Files and folders observed in one of the kernel's ways. Set up by one thread, then turned by
/// another.
class Observation {
 public:
  Observation(std::unique_ptr<KernelWatch> kernel, FileEventBatch& batch,
              UnobservedPaths& unobserved, std::vector<std::string> exclusions);

  /// What the file systems refuse in this way, for another.
  ObservedPaths add(const ObservedPaths& paths);
  /// Takes in what happened since the last turn; the batch has begun. True when more waits.
  [[nodiscard]] bool turn();
  /// More keeps coming than is taken in: everything is to be looked at.
  void giveUp() { batch_.mustScan("/", complete_); }
  int descriptor() const { return kernel_->descriptor(); }

 private:
  bool observed(const std::string& path, int error);
  void apply(const KernelChange& change);
  void recover();

  std::unique_ptr<KernelWatch> kernel_;
  FileEventBatch& batch_;
  UnobservedPaths& unobserved_;
  std::vector<KernelChange> waiting_;
  ObservedFolders folders_;
  ObservedFiles files_;
  ObservedPlaces places_;
  WallTime complete_;  ///< up to here nothing was lost
  bool lost_ = false;
};

}  // namespace brindle
