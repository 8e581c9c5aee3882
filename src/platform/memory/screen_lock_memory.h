#pragma once

#include "platform/posted_notices.h"
#include "platform/screen_lock.h"

namespace brindle {

/// A screen, session and power that do what they are told.
class MemoryScreenLock final : public ScreenLock {
 public:
  explicit MemoryScreenLock(Scheduler& scheduler)
      : scheduler_(scheduler), distributed_(scheduler), workspace_(scheduler) {}

  NoticeCenter& distributed() override { return distributed_; }
  NoticeCenter& workspace() override { return workspace_; }
  bool screenLocked() const override { return reachable_ && (locked_ || !sessionActive_); }
  bool displayAsleep() const override { return displayAsleep_; }
  bool reachable() const override { return reachable_; }
  [[nodiscard]] Subscription onReachable(std::function<void(bool)> changed) override {
    return reachableListeners_.add(std::move(changed));
  }
  ServiceReport report() const override {
    return {"screen lock", "memory", reachable_, reachable_ ? "driven by hand" : "told to be gone"};
  }

  /// Each change announces its notice; a change to the state it is in announces nothing.
  void setLocked(bool locked) {
    change(locked_, locked, distributed_, SystemNotice::screenLocked, SystemNotice::screenUnlocked);
  }
  void setSessionActive(bool active) {
    change(sessionActive_, active, workspace_, SystemNotice::sessionBecameActive,
           SystemNotice::sessionResignedActive);
  }
  void setDisplayAsleep(bool asleep) {
    change(displayAsleep_, asleep, workspace_, SystemNotice::screensDidSleep,
           SystemNotice::screensDidWake);
  }
  void suspend() { workspace_.announce(SystemNotice::willSleep); }
  void resume() { workspace_.announce(SystemNotice::didWake); }
  void powerOff() { workspace_.announce(SystemNotice::willPowerOff); }
  /// The notice alone, with no change of state: a system that announces twice.
  void announce(SystemNotice notice) {
    const bool locker =
        notice == SystemNotice::screenLocked || notice == SystemNotice::screenUnlocked;
    (locker ? distributed_ : workspace_).announce(notice);
  }
  void setReachable(bool reachable) {
    if (std::exchange(reachable_, reachable) == reachable) return;
    scheduler_.post([all = reachableListeners_, reachable] { all.tell(reachable); });
  }

 private:
  static void change(bool& state, bool next, PostedNotices& center, SystemNotice whenTrue,
                     SystemNotice whenFalse) {
    if (std::exchange(state, next) != next) center.announce(next ? whenTrue : whenFalse);
  }

  Scheduler& scheduler_;
  PostedNotices distributed_;
  PostedNotices workspace_;
  Listeners<bool> reachableListeners_;
  bool locked_ = false;
  bool sessionActive_ = true;
  bool displayAsleep_ = false;
  bool reachable_ = true;
};

}  // namespace brindle
