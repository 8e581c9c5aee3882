#pragma once

#include <vector>

#include "platform/linux/display_power.h"
#include "platform/linux/logind_session.h"
#include "platform/linux/screensaver.h"
#include "platform/posted_notices.h"

namespace brindle {

/// Lock, session and power on a Linux desktop. The screen counts as locked while logind's hint or a
/// screensaver says so; a change of that sum is a notice, also when it happened while a source was
/// away. Requests to lock or unlock are no notices: the locker may not have obeyed them.
class LinuxScreenLock final : public ScreenLock {
 public:
  /// Waits half a second at most for the first answers, so that a start sees the state it meets.
  LinuxScreenLock(LogindSession& logind, DbusLink& system, DbusLink& session, Log log);

  NoticeCenter& distributed() override { return distributed_; }
  NoticeCenter& workspace() override { return workspace_; }
  bool screenLocked() const override { return locked_ || !active_; }
  bool displayAsleep() const override { return displayAsleep_; }
  bool reachable() const override { return reachable_; }
  [[nodiscard]] Subscription onReachable(std::function<void(bool)> changed) override {
    return reachableListeners_.add(std::move(changed));
  }
  ServiceReport report() const override;

 private:
  void update();
  void become(bool& state, bool next, PostedNotices& center, SystemNotice whenTrue,
              SystemNotice whenFalse);
  void powerTold(LogindSession::Power told);

  LogindSession& logind_;
  Scheduler& scheduler_;
  Screensaver gnome_;
  Screensaver freedesktop_;
  DisplayPower display_;
  PostedNotices distributed_;
  PostedNotices workspace_;
  Listeners<bool> reachableListeners_;
  bool locked_ = false;
  bool active_ = true;
  bool displayAsleep_ = false;
  bool reachable_ = false;
  std::vector<Subscription> subscriptions_;
};

}  // namespace brindle
