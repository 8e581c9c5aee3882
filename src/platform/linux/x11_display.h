#pragma once

// For sources only: Xlib's macros (None, Bool) get in the way of other headers.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <memory>

namespace brindle {

/// Xlib ends the process on an error and on a lost connection unless it is told otherwise, and a
/// guard must not end because an output or a window went away between two calls. The handlers are
/// the process's, so they are set for the length of our calls only; every call to Xlib is made
/// under one of these.
class ErrorsIgnored {
 public:
  ErrorsIgnored() = default;
  ErrorsIgnored(const ErrorsIgnored&) = delete;
  ErrorsIgnored& operator=(const ErrorsIgnored&) = delete;
  ~ErrorsIgnored() {
    XSetErrorHandler(error_);
    XSetIOErrorHandler(lost_);
  }

 private:
  XErrorHandler error_ = XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
  XIOErrorHandler lost_ = XSetIOErrorHandler([](Display*) { return 0; });
};

struct CloseDisplay {
  void operator()(Display* display) const {
    const ErrorsIgnored ignored;
    XCloseDisplay(display);
  }
};
using DisplayOwner = std::unique_ptr<Display, CloseDisplay>;

/// A connection of our own to the display that DISPLAY names; none when it does not answer.
inline DisplayOwner openDisplay() {
  const ErrorsIgnored ignored;
  DisplayOwner display(XOpenDisplay(nullptr));
  // A connection has its own way out as well, taken after the handler of the process.
  if (display)
    XSetIOErrorExitHandler(
        display.get(), [](Display*, void*) {}, nullptr);
  return display;
}

}  // namespace brindle
