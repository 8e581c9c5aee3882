#pragma once

#include <memory>

#include "platform/scheduler.h"

namespace brindle {

/// The main dispatch queue as a scheduler. A window toolkit that runs the main run loop serves it
/// as it is; a program without one calls `run`.
class MacScheduler : public Scheduler {
 public:
  /// Serves the main run loop until `stop`.
  virtual void run() = 0;
  virtual void stop() = 0;
};

std::unique_ptr<MacScheduler> makeMacScheduler();

}  // namespace brindle
