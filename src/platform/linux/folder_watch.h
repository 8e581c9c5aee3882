#pragma once

#include <functional>
#include <string>

#include "platform/posix/descriptor.h"
#include "platform/posix/main_loop.h"

namespace brindle {

/// Tells from the main loop that whole files came into folders (by a rename) or that folders were
/// made in them; one call for many.
class FolderWatch {
 public:
  FolderWatch(MainLoop& loop, std::function<void()> changed);
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;

  /// False when the folder cannot be watched. A folder watched already is watched once.
  bool add(const std::string& folder);

 private:
  void drain();

  Descriptor inotify_;
  std::function<void()> changed_;
  Subscription watch_;
};

}  // namespace brindle
