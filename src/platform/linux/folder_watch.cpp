#include "platform/linux/folder_watch.h"

#include <poll.h>

#include "platform/linux/inotify_reading.h"

namespace brindle {

FolderWatch::FolderWatch(MainLoop& loop, std::function<void()> changed)
    : inotify_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)), changed_(std::move(changed)) {
  if (inotify_) watch_ = loop.watch(inotify_.get(), POLLIN, [this](std::uint32_t) { drain(); });
}

bool FolderWatch::add(const std::string& folder) {
  constexpr std::uint32_t what = IN_CREATE | IN_MOVED_TO | IN_ONLYDIR;
  return watch_ && inotify_add_watch(inotify_.get(), folder.c_str(), what) >= 0;
}

void FolderWatch::drain() {
  bool whole = false;
  readInotify(inotify_.get(), [&whole](const inotify_event& event, const char*) {
    // A file that was only just made has nothing in it yet.
    whole = whole || (event.mask & IN_CREATE) == 0 || (event.mask & IN_ISDIR) != 0;
  });
  if (whole) changed_();
}

}  // namespace brindle
