#pragma once

#include <memory>
#include <string>

#include "app/app_paths.h"
#include "app/services.h"
#include "platform/linux/scheduler_linux.h"

namespace brindle {

/// The backends of a Linux desktop. Made first thing in a process, before any other thread: it
/// takes the signals over.
class LinuxServices {
 public:
  /// `logToTerminal`: lines also go to standard error.
  LinuxServices(const AppPaths& paths, bool logToTerminal);
  ~LinuxServices();
  LinuxServices(const LinuxServices&) = delete;
  LinuxServices& operator=(const LinuxServices&) = delete;

  const Services& services() const;
  LinuxScheduler& scheduler();
  LogSink& log();
  /// Secrets lie in private files, because this machine never had a keyring service.
  bool usesFileKeyring() const;

 private:
  struct All;
  std::unique_ptr<All> all_;
};

/// First thing in a program whose window toolkit starts threads before `LinuxServices` exists:
/// orders to quit must not end the process from one of those.
void holdQuitSignals();

/// Writes each line to the journal where there is one, and to standard error where that was asked
/// for. A command's own output says what a person must know, so commands do not ask for it.
std::unique_ptr<LogSink> makeLinuxLog(bool terminal);

/// The absolute path of this program, or of another one of ours beside it.
std::string ownProgram(const std::string& name = {});

}  // namespace brindle
