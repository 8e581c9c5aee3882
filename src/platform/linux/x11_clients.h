#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/posix/main_loop.h"
#include "platform/running_apps.h"

namespace brindle {

/// A top-level window of a program, as its window manager lists it. Programs may leave any of it
/// out.
struct X11Client {
  std::string instance, windowClass;  ///< WM_CLASS
  std::string process;                ///< _NET_WM_PID
};

/// The windows of an X display, on a connection of its own: the lists that window managers keep on
/// the root window (Extended Window Manager Hints 1.5). Main thread.
class X11Clients {
 public:
  using Told = std::function<void(const X11Client&, RunningApps::What)>;

  /// Tells from the main loop of programs whose first window comes after this, and of windows that
  /// come to the front, until `lost` says that the display is gone. None without a display.
  static std::unique_ptr<X11Clients> open(MainLoop& loop, Told told, std::function<void()> lost);
  ~X11Clients();

  /// A window manager keeps the lists: without one nothing is ever told.
  bool managed() const;
  /// The window in front.
  std::optional<X11Client> active() const;

 private:
  class Connection;
  explicit X11Clients(std::unique_ptr<Connection> connection);

  std::unique_ptr<Connection> connection_;
};

}  // namespace brindle
