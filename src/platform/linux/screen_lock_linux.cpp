#include "platform/linux/screen_lock_linux.h"

#include <utility>

namespace brindle {

using namespace std::chrono_literals;

LinuxScreenLock::LinuxScreenLock(LogindSession& logind, DbusLink& system, DbusLink& session,
                                 Log log)
    : logind_(logind),
      scheduler_(system.scheduler()),
      gnome_(session, log, "org.gnome.ScreenSaver", "/org/gnome/ScreenSaver"),
      freedesktop_(session, log, "org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver"),
      display_(session, log),
      distributed_(scheduler_),
      workspace_(scheduler_) {
  const auto changed = [this] { update(); };
  subscriptions_.push_back(logind_.onChange(changed));
  subscriptions_.push_back(gnome_.onChange(changed));
  subscriptions_.push_back(freedesktop_.onChange(changed));
  subscriptions_.push_back(display_.onChange(changed));
  subscriptions_.push_back(logind_.onPower([this](LogindSession::Power told) { powerTold(told); }));
  system.settle(500ms);
  session.settle(500ms);
  update();
}

void LinuxScreenLock::update() {
  const bool saver = gnome_.active() || freedesktop_.active();
  become(locked_, logind_.lockedHint() || saver, distributed_, SystemNotice::screenLocked,
         SystemNotice::screenUnlocked);
  become(active_, logind_.active(), workspace_, SystemNotice::sessionBecameActive,
         SystemNotice::sessionResignedActive);
  become(displayAsleep_, display_.asleep().value_or(false), workspace_,
         SystemNotice::screensDidSleep, SystemNotice::screensDidWake);
  const bool reachable = logind_.answers() || gnome_.answers() || freedesktop_.answers();
  if (std::exchange(reachable_, reachable) == reachable) return;
  scheduler_.post([all = reachableListeners_, reachable] { all.tell(reachable); });
}

void LinuxScreenLock::become(bool& state, bool next, PostedNotices& center, SystemNotice whenTrue,
                             SystemNotice whenFalse) {
  if (std::exchange(state, next) != next) center.announce(next ? whenTrue : whenFalse);
}

void LinuxScreenLock::powerTold(LogindSession::Power told) {
  switch (told) {
    case LogindSession::Power::willSleep:
      return workspace_.announce(SystemNotice::willSleep);
    case LogindSession::Power::didWake:
      return workspace_.announce(SystemNotice::didWake);
    case LogindSession::Power::willPowerOff:
      return workspace_.announce(SystemNotice::willPowerOff);
  }
}

ServiceReport LinuxScreenLock::report() const {
  std::string detail = logind_.describe();
  for (const Screensaver* saver : {&gnome_, &freedesktop_}) {
    if (saver->answers()) detail += ", " + saver->name();
  }
  if (!display_.asleep()) detail += "; display sleep cannot be told";
  const char* backend = logind_.answers() || !reachable_ ? "logind" : "screensaver";
  return {"screen lock", backend, reachable_, detail};
}

}  // namespace brindle
