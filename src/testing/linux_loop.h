#pragma once

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>

#include "platform/linux/scheduler_linux.h"

namespace brindle {

/// Runs a real main loop until `done` holds, waiting on readiness; false when that took too long.
inline bool runUntil(LinuxScheduler& scheduler, const std::function<bool()>& done,
                     std::chrono::milliseconds longest = std::chrono::seconds(10)) {
  const auto end = std::chrono::steady_clock::now() + longest;
  while (true) {
    scheduler.processReady();
    if (done()) return true;
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        end - std::chrono::steady_clock::now());
    if (left.count() <= 0) return false;
    pollfd ready{scheduler.fd(), POLLIN, 0};
    // Not everything waited for wakes the loop: a camera's thread changes what `done` looks at.
    poll(&ready, 1, static_cast<int>(std::min<std::int64_t>(left.count(), 20)));
  }
}

}  // namespace brindle
