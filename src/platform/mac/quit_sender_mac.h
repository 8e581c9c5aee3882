#pragma once

#include <memory>

#include "platform/quit_sender.h"

namespace brindle {

/// Quit orders as AppKit delivers them: every Apple event that asks the application to quit, and
/// `terminate:` called inside it. While somebody listens, AppKit is told "later" and waits for
/// `reply`; a log out, restart or shut down waits with it.
class MacQuitSender : public QuitSender {
 public:
  /// The listener's decision upon the order told last. True lets the process end, false cancels,
  /// and with it the log out or shut down that asked.
  virtual void reply(bool quit) = 0;
};

/// Becomes the application's delegate. Make it before the window toolkit's application object: the
/// toolkit then forwards what it does not answer itself.
std::unique_ptr<MacQuitSender> makeMacQuitSender();

}  // namespace brindle
