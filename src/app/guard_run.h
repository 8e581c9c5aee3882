#pragma once

#include "app/app_paths.h"
#include "app/brindle_app.h"
#include "app/control_socket.h"
#include "app/doctor.h"
#include "app/guard_commands.h"
#include "app/instance_lock.h"
#include "app/native_services.h"

namespace brindle {

/// A guard that goes on: the one instance of this person's Brindle, the application and its socket,
/// over services that outlive it. The desktop and the guard without windows differ in what they lay
/// over it.
class GuardRun {
 public:
  /// What a program lays over the flash window; it outlives the run.
  using OverFlash = std::function<FlashWindow&(FlashWindow& plain)>;

  /// `window` is what shows the guarded window in this process.
  GuardRun(NativeServices& services, const AppPaths& paths, ServiceReport window,
           const OverFlash& overFlash = {});

  /// `started` from the main loop. A socket that cannot be made is only logged: the guard works,
  /// but commands do not reach it.
  void start(std::function<void()> started);

  BrindleMacApp& app() { return app_; }
  /// `leave` ends the main loop with this exit code; where the system ends the process upon a quit
  /// order it is not called.
  void onQuit(std::function<void(int exitCode)> leave);

 private:
  void offerLinks();

  AppPaths paths_;
  NativeServices& services_;
  Log log_;
  BrindleMacApp app_;
  Doctor doctor_;
  GuardCommands commands_;
  ControlSocket socket_;
};

/// Takes the instance lock, saying why when it cannot: the exit code, or done.
int takeInstance(InstanceLock& lock, const AppPaths& paths);

}  // namespace brindle
