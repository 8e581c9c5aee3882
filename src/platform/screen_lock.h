#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/subscription.h"
#include "platform/service_report.h"

namespace brindle {

/// What the system announces about lock, session and power.
enum class SystemNotice {
  // announced by the screen locker
  screenUnlocked,
  screenLocked,
  // announced by the session
  sessionBecameActive,
  sessionResignedActive,
  screensDidWake,
  screensDidSleep,
  willSleep,
  willPowerOff,
  didWake,
};

/// One center that announces notices. Main thread only; observers are called from the main loop,
/// never from inside `observe`, until the subscription ends.
class NoticeCenter {
 public:
  virtual ~NoticeCenter() = default;
  [[nodiscard]] virtual Subscription observe(SystemNotice notice,
                                             std::function<void()> observer) = 0;
};

/// Screen lock, login session and display of the person's session. Main thread only; questions are
/// answered from what is known and do not block.
class ScreenLock {
 public:
  virtual ~ScreenLock() = default;

  /// The locker's center announces screenUnlocked and screenLocked (macOS: distributed
  /// notifications; Linux: LockedHint of the logind session, or the screensaver's ActiveChanged —
  /// never the mere request to unlock).
  virtual NoticeCenter& distributed() = 0;
  /// The session's center announces all others (macOS: the workspace; Linux: logind).
  virtual NoticeCenter& workspace() = 0;
  /// The screen is locked now, or the session is not the one on the console; false when it cannot
  /// be told.
  virtual bool screenLocked() const = 0;
  /// The main display is asleep now; false when it cannot be told.
  virtual bool displayAsleep() const = 0;
  /// True while some source of unlocks answers. When it changes, `onReachable` is told.
  virtual bool reachable() const = 0;
  [[nodiscard]] virtual Subscription onReachable(std::function<void(bool)> changed) = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
