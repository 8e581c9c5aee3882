#pragma once

#include <memory>

#include "platform/push_registration.h"
#include "platform/quit_sender.h"

namespace brindle {

/// Quit orders as AppKit delivers them, every Apple event that asks the application to quit and
/// `terminate:` called inside it, and as signals. While somebody listens, AppKit is told "later"
/// and waits for `reply`; a log out, restart or shut down waits with it.
class MacQuitSender : public QuitSender {
 public:
  /// The listener's decision upon the order told last. True lets the process end there and then,
  /// false cancels, and with it the log out or shut down that asked. Answers whether AppKit was
  /// waiting: upon a signal, or our own menu, nothing waits and nothing happens.
  virtual bool reply(bool quit) = 0;

  /// Whether the system started the application because its person logged in. Known once AppKit has
  /// begun to finish launching; false before.
  virtual bool startedAtLogin() const = 0;
  /// What AppKit tells its delegate, and only it, of push messages.
  virtual void listenForPush(PushRegistration::Listener listener) = 0;
};

/// Becomes the application's delegate. Make it before the window toolkit's application object: the
/// toolkit then forwards what it does not answer itself.
std::unique_ptr<MacQuitSender> makeMacQuitSender();

/// Signals only, for a program without AppKit's loop: no Apple event reaches it.
std::unique_ptr<QuitSender> makeMacQuitSignals();

}  // namespace brindle
