#pragma once

#include "app/app_paths.h"
#include "app/brindle_app.h"
#include "app/control_socket.h"
#include "app/doctor.h"
#include "app/guard_commands.h"
#include "app/instance_lock.h"
#include "app/linux_services.h"

namespace brindle {

/// A guard that goes on: the one instance of this person's Brindle, its services, the application
/// and its socket. The desktop and the guard without windows differ in what they lay over it.
class GuardRun {
 public:
  /// `window` is what shows the guarded window in this process.
  GuardRun(const AppPaths& paths, bool logToTerminal, ServiceReport window);

  /// `started` from the main loop. A socket that cannot be made is only logged: the guard works,
  /// but commands do not reach it.
  void start(std::function<void()> started);

  LinuxServices& services() { return services_; }
  BrindleMacApp& app() { return app_; }

 private:
  AppPaths paths_;
  LinuxServices services_;
  Log log_;
  BrindleMacApp app_;
  Doctor doctor_;
  GuardCommands commands_;
  ControlSocket socket_;
};

/// Takes the instance lock, saying why when it cannot: the exit code, or done.
int takeInstance(InstanceLock& lock, const AppPaths& paths);

}  // namespace brindle
