#pragma once

#include <memory>

#include "platform/posix/main_loop.h"

namespace brindle {

/// The main dispatch queue as the main loop. A window toolkit that runs the main run loop serves it
/// as it is, so it has no descriptor to watch; a program without one calls `run`.
std::unique_ptr<MainLoop> makeMacScheduler();

}  // namespace brindle
