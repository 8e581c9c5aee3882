#pragma once

#include <memory>
#include <string>

#include "app/app_paths.h"
#include "app/control_socket.h"
#include "app/instance_lock.h"

namespace brindle {

/// How a command reaches this person's guard.
struct ReachedGuard {
  std::unique_ptr<ControlClient> client;  ///< a guard runs: talk to it
  InstanceLock lock;                      ///< none runs: while this is held none can start
  std::string problem;                    ///< neither; not empty then
};

/// Waits a few seconds for a guard that holds the instance lock but does not listen yet: it is
/// starting.
ReachedGuard reachGuard(const AppPaths& paths);

}  // namespace brindle
