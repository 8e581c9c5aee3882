#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "app/app_paths.h"
#include "app/services.h"
#include "base/result.h"
#include "platform/posix/main_loop.h"

namespace brindle {

/// What a program is for. The guards log to the terminal as well; a command's own output says what
/// a person must know.
enum class ProgramKind { desktop, guard, command };

/// The backends of the system that this program was built for, and the main loop that drives them.
/// Made first thing in a process, before any other thread and before the window toolkit's
/// application object: it takes over the orders to quit. Main thread only.
class NativeServices {
 public:
  NativeServices() = default;
  virtual ~NativeServices() = default;
  NativeServices(const NativeServices&) = delete;
  NativeServices& operator=(const NativeServices&) = delete;

  virtual const Services& services() const = 0;
  virtual MainLoop& scheduler() = 0;
  virtual LogSink& log() = 0;
  /// Secrets lie in private files, because this machine never had a keyring service.
  virtual bool usesFileKeyring() const = 0;
  /// Keeps windows in front of everything and the keyboard with them, beyond what the window
  /// toolkit can do: given their native handles again and again, none once they are down. X11 needs
  /// nothing more, and Wayland has nothing to offer.
  virtual void holdCovers(std::span<const std::uintptr_t>) {}
  /// The decision upon the quit order told last, for a system that waits for it; such a system ends
  /// the process itself. False when nothing waits.
  virtual bool answerQuit(bool quits) = 0;
  /// Whether the login item started this program, where the system says so itself.
  virtual bool startedAtLogin() const { return false; }
  /// Sees to it that links with these schemes come to this program, where that is for a program to
  /// say. An explanation for a person when it could not be done.
  virtual Result<void, std::string> offerLinks(const std::vector<std::string>&) { return {}; }
  /// Takes a link that a second start of this program brings; false where links come another way.
  virtual bool openLink(const std::string&) { return false; }
};

// Each of these is implemented once per system.

std::unique_ptr<NativeServices> makeNativeServices(const AppPaths& paths, ProgramKind program);

/// What a rehearsal takes from the system: it touches nothing outside the process.
struct NativeTools {
  std::unique_ptr<MainLoop> loop;
  std::unique_ptr<BootClock> bootClock;
  std::unique_ptr<Random> random;
  std::unique_ptr<ImageReader> images;
};
NativeTools makeNativeTools();

/// Whether windows can be shown at all.
bool hasWindowSystem();

/// The absolute path of this program, or of another one of ours beside it.
std::string ownProgram(const std::string& name = {});

}  // namespace brindle
