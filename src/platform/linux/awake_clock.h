#pragma once

#include <string>

#include "platform/scheduler.h"

namespace brindle {

/// The clock that stands still in sleep, as every program of one boot reads it: the wall clock may
/// be set by years between a hand-over and its end.
struct AwakeClock {
  std::string boot;   ///< the kernel's identifier of this boot
  Duration offset{};  ///< what a scheduler's own awake time is ahead by

  static AwakeClock of(const Scheduler& scheduler);
  Duration now(const Scheduler& scheduler) const { return scheduler.awakeTime() + offset; }
};

}  // namespace brindle
