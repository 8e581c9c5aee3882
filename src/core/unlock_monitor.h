#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "base/subscription.h"
#include "core/lock_signal.h"
#include "platform/scheduler.h"
#include "platform/screen_lock.h"

namespace brindle {

/// Turns the system's announcements about lock, session and power into two calls: somebody got past
/// the login screen, and a lock signal. Main thread only. Registrations and checks under way end
/// with it.
class UnlockMonitor {
 public:
  /// Announcements of one unlock that come within this time of each other are one unlock.
  static constexpr Duration debounce = std::chrono::milliseconds(1500);
  /// After a session or the screens woke, the locker gets this long to say that it is still there.
  static constexpr Duration unlockCheckDelay = std::chrono::seconds(1);

  UnlockMonitor(ScreenLock& screen, Scheduler& scheduler);

  std::function<void()> onUnlock;
  /// With the moment at which the signal was seen.
  std::function<void(LockSignal, WallTime)> onLock;

  /// Registers the observers; does nothing while they are registered.
  void start();
  void stop();
  bool started() const { return !tokens_.empty(); }

  /// The screen is locked now, or the session is not the one on the console.
  bool lockState() const { return screen_.screenLocked(); }
  WallTime now() const { return scheduler_.wallTime(); }

 private:
  void fire();
  void checkLater();
  void check();

  ScreenLock& screen_;
  Scheduler& scheduler_;
  NoticeCenter& distributed_;
  NoticeCenter& workspace_;
  std::vector<Subscription> tokens_;
  std::optional<WallTime> lastFire_;  ///< none: the distant past
  std::vector<Timer> checks_;
};

}  // namespace brindle
