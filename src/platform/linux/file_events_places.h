#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/linux/file_events_batch.h"
#include "platform/linux/file_events_kernel.h"

namespace brindle {

/// The ways to the watched paths: every folder on one may be moved away, and what is not there may
/// come. Either is a changed root.
class ObservedPlaces {
 public:
  ObservedPlaces(KernelWatch& kernel, FileEventBatch& batch) : kernel_(kernel), batch_(batch) {}

  /// The folders that lead to `path`, which is a folder itself or the name of a file in the last.
  void add(const std::string& path, bool isFolder);
  void changed(const KernelChange& change);

 private:
  struct Awaited {
    std::string name;
    std::string path;
  };
  void await(const std::string& folder, const std::string& name, const std::string& path);

  KernelWatch& kernel_;
  FileEventBatch& batch_;
  std::unordered_multimap<FileKey, std::string> leading_;  ///< to the watched path
  std::unordered_multimap<FileKey, Awaited> awaited_;
};

}  // namespace brindle
