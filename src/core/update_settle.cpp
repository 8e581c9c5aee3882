#include "core/update_settle.h"

#include <utility>

namespace brindle {

UpdateSettle::UpdateSettle(Scheduler& scheduler, ScreenLock& screen, Log log,
                           std::function<Facts()> facts)
    : scheduler_(scheduler), screen_(screen), log_(log), facts_(std::move(facts)) {}

void UpdateSettle::updateReady(std::function<void()> install) {
  install_ = std::move(install);
  const Facts facts = facts_();
  log_.notice("update ready: %{public}s",
              facts.on ? "installs at the next lock (on)" : "installs now (off)");
  if (!facts.on) return this->install(false, "ready");
  if (settling() || facts.macAsleep || facts.unlockUnderWay) return;
  if (screen_.screenLocked()) {
    begin(LockSignal::locked);
  } else if (screen_.displayAsleep()) {
    begin(LockSignal::displaySleep);
  }
}

void UpdateSettle::endedBy(LockSignal signal) {
  const bool ends = signal == LockSignal::sleep || signal == LockSignal::wake;
  if (!ends || !timer_.armed()) return;
  log_.notice("settle ended by %{public}s: waits for the next lock", rawValue(signal));
  timer_.cancel();
}

void UpdateSettle::lockSignal(LockSignal signal) {
  if (signal != LockSignal::locked && signal != LockSignal::displaySleep) return;
  const Facts facts = facts_();
  if (!facts.on || !updateWaits() || settling() || facts.macAsleep) return;
  if (facts.unlockUnderWay) {
    log_.notice("lock (%{public}s) while an unlock is dealt with: waits for the next lock",
                rawValue(signal));
    return;
  }
  begin(signal);
}

void UpdateSettle::begin(LockSignal signal) {
  log_.notice("settle: %{public}f s after %{public}s", secondsOf(settleTime), rawValue(signal));
  after_ = signal;
  // A flag set by each unlock, and not two readings of the wall clock: that may jump meanwhile.
  unlockedSince_ = false;
  timer_ = scheduler_.after(settleTime, [this] { finish(); });
}

void UpdateSettle::finish() {
  const Facts facts = facts_();
  const bool locked = screen_.screenLocked();
  const bool displayAsleep = screen_.displayAsleep();
  const bool away = facts.on && (locked || displayAsleep) && !unlockedSince_ && !facts.macAsleep &&
                    !facts.unlockUnderWay;
  if (away) return install(facts.on, rawValue(after_));
  log_.notice(
      "settle over, not away (on %{bool,public}d, locked %{bool,public}d, "
      "display asleep %{bool,public}d, unlocked since %{bool,public}d, "
      "Mac asleep %{bool,public}d, unlock under way %{bool,public}d): waits for the next lock",
      facts.on, locked, displayAsleep, unlockedSince_, facts.macAsleep, facts.unlockUnderWay);
}

void UpdateSettle::install(bool on, std::string_view after) {
  log_.notice("installing: on %{bool,public}d, after %{public}s", on, after);
  // Moved out first: the installer may end this process or hand over the next update.
  if (const auto install = std::exchange(install_, nullptr)) install();
}

}  // namespace brindle
