#pragma once

#include <functional>
#include <string_view>

#include "base/log.h"
#include "core/lock_signal.h"
#include "platform/scheduler.h"
#include "platform/screen_lock.h"

namespace brindle {

/// Decides when a waiting application update may be installed: a while after the screen was locked
/// or the display went to sleep, if the owner is away by then. Knows no store; whoever drives it
/// asks for the facts. Main thread only.
class UpdateSettle {
 public:
  static constexpr Duration settleTime = std::chrono::seconds(5);

  /// What the guard knows at this moment.
  struct Facts {
    bool on = false;
    bool macAsleep = false;
    bool unlockUnderWay = false;
  };

  UpdateSettle(Scheduler& scheduler, ScreenLock& screen, Log log, std::function<Facts()> facts);

  /// The update installer hands over what installs the update. While on it waits for a lock, or
  /// starts settling at once if the machine is locked or dark already; while off it is installed
  /// now.
  void updateReady(std::function<void()> install);
  /// An update is waiting to be installed.
  bool updateWaits() const { return static_cast<bool>(install_); }
  bool settling() const { return timer_.armed(); }

  /// First thing on a lock signal, after the facts' `macAsleep` was set: `sleep` and `wake` end a
  /// settle under way. Other signals do nothing here.
  void endedBy(LockSignal signal);
  /// Last thing on a lock signal: starts the settle where the rules allow it.
  void lockSignal(LockSignal signal);
  /// Somebody got past the login screen.
  void unlockSeen() { unlockedSince_ = true; }

 private:
  void begin(LockSignal signal);
  void finish();
  void install(bool on, std::string_view after);

  Scheduler& scheduler_;
  ScreenLock& screen_;
  Log log_;
  std::function<Facts()> facts_;
  std::function<void()> install_;
  LockSignal after_ = LockSignal::locked;
  bool unlockedSince_ = false;
  Timer timer_;
};

}  // namespace brindle
