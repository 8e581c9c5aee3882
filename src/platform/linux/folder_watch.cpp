#include "platform/linux/folder_watch.h"

#include <poll.h>
#include <sys/inotify.h>

#include <array>
#include <cstring>

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
  alignas(inotify_event) std::array<char, 4096> events;
  bool whole = false;
  for (;;) {
    const auto size =
        uninterrupted([&] { return ::read(inotify_.get(), events.data(), events.size()); });
    if (size <= 0) break;
    for (std::size_t at = 0; at < static_cast<std::size_t>(size);) {
      inotify_event event{};
      std::memcpy(&event, events.data() + at, sizeof event);
      // A file that was only just made has nothing in it yet.
      whole = whole || (event.mask & IN_CREATE) == 0 || (event.mask & IN_ISDIR) != 0;
      at += sizeof event + event.len;
    }
  }
  if (whole) changed_();
}

}  // namespace brindle
