#pragma once

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstring>

#include "platform/posix/descriptor.h"

namespace brindle {

/// Takes everything that an inotify instance has to tell and does not wait for more. `told` gets
/// each event and the name that came with it, empty where there was none.
template <class Told>
void readInotify(int instance, Told told) {
  std::array<char, 4096> events;
  for (;;) {
    const auto size = uninterrupted([&] { return ::read(instance, events.data(), events.size()); });
    if (size <= 0) return;
    for (std::size_t at = 0; at < static_cast<std::size_t>(size);) {
      inotify_event event{};
      std::memcpy(&event, events.data() + at, sizeof event);
      told(event, event.len > 0 ? events.data() + at + sizeof event : "");
      at += sizeof event + event.len;
    }
  }
}

}  // namespace brindle
