#include "core/unlock_monitor.h"

#include <utility>

namespace brindle {
namespace {

constexpr std::pair<LockSignal, SystemNotice> sources[] = {
    {LockSignal::locked, SystemNotice::screenLocked},
    {LockSignal::switchedUser, SystemNotice::sessionResignedActive},
    {LockSignal::displaySleep, SystemNotice::screensDidSleep},
    {LockSignal::sleep, SystemNotice::willSleep},
    {LockSignal::shutDown, SystemNotice::willPowerOff},
    {LockSignal::wake, SystemNotice::didWake},
};

}  // namespace

UnlockMonitor::UnlockMonitor(ScreenLock& screen, Scheduler& scheduler)
    : screen_(screen),
      scheduler_(scheduler),
      distributed_(screen.distributed()),
      workspace_(screen.workspace()) {}

void UnlockMonitor::start() {
  if (!tokens_.empty()) return;
  tokens_.push_back(distributed_.observe(SystemNotice::screenUnlocked, [this] { fire(); }));
  for (const auto woke : {SystemNotice::sessionBecameActive, SystemNotice::screensDidWake}) {
    tokens_.push_back(workspace_.observe(woke, [this] { checkLater(); }));
  }
  for (const auto& [signal, notice] : sources) {
    NoticeCenter& center = notice == SystemNotice::screenLocked ? distributed_ : workspace_;
    tokens_.push_back(center.observe(notice, [this, lockSignal = signal] {
      if (onLock) onLock(lockSignal, now());
    }));
  }
}

void UnlockMonitor::stop() {
  tokens_.clear();
  checks_.clear();
}

void UnlockMonitor::fire() {
  const WallTime at = now();
  // A last unlock that lies in the future means that the clock was set back since. Dropping the
  // unlock for that would hide every unlock until the clock has caught up.
  const bool clockWasSetBack = lastFire_ && at < *lastFire_;
  if (lastFire_ && !clockWasSetBack && at - *lastFire_ <= debounce) return;
  lastFire_ = at;
  if (onUnlock) onUnlock();
}

void UnlockMonitor::checkLater() {
  std::erase_if(checks_, [](const Timer& check) { return !check.armed(); });
  checks_.push_back(scheduler_.after(unlockCheckDelay, [this] { check(); }));
}

/// Catches unlocks that the locker does not announce, such as a return by switching users.
void UnlockMonitor::check() {
  if (!lockState()) fire();
}

}  // namespace brindle
