#pragma once

#include <functional>

#include "base/lifetime.h"
#include "base/log.h"
#include "core/nightjar_store.h"
#include "platform/quit_sender.h"

namespace brindle {

/// Decides what becomes of requests to quit, and sees to it that nothing is lost on the way out.
/// Main thread only.
class AppDelegate {
 public:
  AppDelegate(NightjarStore& store, QuitSender& quitSender, Log log);

  /// Shows the owner check for quitting, where there is a place for it. Without one a person's
  /// request while on is refused: whoever sits here can turn the guard off first.
  std::function<void()> askForQuitProof;
  /// Tells a system that waits for the decision that the process goes on. Told before the proof is
  /// asked for: the owner may be away, and a log out would wait as well. A quit that is proved
  /// later is this program's own doing.
  std::function<void()> refuse;
  /// Brings the full window forward, where there are windows.
  std::function<void()> openFullWindow;
  /// Ends the process; everything is recorded by then unless `saved` says otherwise.
  std::function<void(bool saved)> quit;

  /// A person asks by way of our own menu.
  void requestQuit() { decide({}); }
  bool quitting() const { return quitting_; }

 private:
  void decide(const QuitOrder& order);
  void lookForApproval();
  void terminate(bool systemEnds);

  NightjarStore& store_;
  Log log_;
  bool quitting_ = false;
  Subscription orders_;
  Subscription changes_;
  Lifetime lifetime_;
};

}  // namespace brindle
