#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/linux/file_events_batch.h"
#include "platform/linux/file_events_kernel.h"
#include "platform/linux/file_events_notes.h"

namespace brindle {

/// Single files: each by its name in its folder, which outlasts a file that is replaced, and by
/// itself, which shows it opened by any other name.
class ObservedFiles {
 public:
  ObservedFiles(KernelWatch& kernel, FileEventBatch& batch, UnobservedPaths& unobserved)
      : kernel_(kernel), batch_(batch), unobserved_(unobserved) {}

  /// The error's number when it cannot be observed; one whose folder is there, but not itself, is.
  /// What can be observed in part is noted.
  int add(const std::string& path);
  void changed(const KernelChange& change);
  /// After all changes that came together: looks at the files whose names were touched.
  void settle();
  /// After a loss of events.
  void lookAgain();

 private:
  struct File {
    std::string path, name;
    FileKey itself;  ///< of the last file with this name, also after that has moved away
  };
  int observeItself(std::size_t index);
  void note(std::size_t index, int error);
  void forgetItself(std::size_t index);

  KernelWatch& kernel_;
  FileEventBatch& batch_;
  UnobservedPaths& unobserved_;
  std::vector<File> files_;
  std::unordered_multimap<FileKey, std::size_t> inFolder_, themselves_;
  std::set<std::size_t> touched_, gone_, folderless_;
};

}  // namespace brindle
