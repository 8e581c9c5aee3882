#include "owner/lockout.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace brindle {
namespace {

constexpr std::int64_t firstLockingFailure = 5;
constexpr std::chrono::seconds baseLock{30};
constexpr std::chrono::seconds longestLock{3600};
constexpr double sameBootTolerance = 2.0;

int wholeSeconds(double seconds) {
  // Sums of large doubles are off by less than a microsecond; that must not add a second.
  const double up = std::ceil(seconds - 1e-6);
  constexpr double most = std::numeric_limits<int>::max();
  return up > 0 ? static_cast<int>(std::min(up, most)) : 0;
}

}  // namespace

std::chrono::seconds lockTime(std::int64_t failures) {
  if (failures < firstLockingFailure) return std::chrono::seconds::zero();
  const auto doublings = std::min<std::int64_t>(failures - 4, 7);  // 30 s times 2^7 is past an hour
  return std::min(baseLock * (1 << doublings), longestLock);
}

Lockout::Lockout(std::string prefix, Preferences& preferences, const Scheduler& scheduler,
                 const BootClock& clock, BootIdentity& boot, Log log)
    : prefix_(std::move(prefix)),
      preferences_(preferences),
      scheduler_(scheduler),
      clock_(clock),
      boot_(boot),
      log_(log) {}

int Lockout::secondsLeft() const {
  const State now = state();
  if (!(now.lockedUntil > 0)) return 0;
  double left = now.lockedUntil - secondsSince1970(scheduler_.wallTime());
  // The larger of the two: within one boot no setting of the clock shortens a lock.
  if (std::abs(now.boot - boot_.bootTime()) <= sameBootTolerance) {
    left = std::max(left, now.lockedUntilUptime - secondsOf(clock_.uptime()));
  }
  return wholeSeconds(left);
}

void Lockout::countWrong() {
  State next = state();
  next.failures = std::min(next.failures, std::numeric_limits<std::int64_t>::max() - 1) + 1;
  const auto lock = [&](std::chrono::seconds time) {
    if (time == time.zero()) return;
    next.lockedUntil = secondsSince1970(scheduler_.wallTime()) + secondsOf(time);
    next.lockedUntilUptime = secondsOf(clock_.uptime()) + secondsOf(time);
    next.boot = boot_.bootTime();
  };
  lock(lockTime(next.failures));
  if (store(next)) return;
  log_.notice("%{public}s.failures not stored: locked at once", prefix_);
  lock(std::max(lockTime(next.failures), lockTime(firstLockingFailure)));
  unsaved_ = next;
}

void Lockout::clear() {
  const State now = state();
  if (now.failures == 0 && !(now.lockedUntil > 0) && !unsaved_) return;
  if (store({})) return;
  // The owner has just proved themself: the old count stays on disk until it can be taken off.
  unsaved_ = State{};
  log_.notice("%{public}s.failures not cleared: kept on disk", prefix_);
}

Lockout::State Lockout::state() const {
  if (unsaved_) return *unsaved_;
  const auto real = [this](std::string_view suffix) {
    return preferences_.real(key(suffix)).value_or(0);
  };
  return {.failures = std::max<std::int64_t>(preferences_.integer(key(".failures")).value_or(0), 0),
          .lockedUntil = real(".lockedUntil"),
          .lockedUntilUptime = real(".lockedUntilUptime"),
          .boot = real(".boot")};
}

bool Lockout::store(const State& next) {
  // One change: a count without its lock would make the next try free.
  const bool stored = preferences_.change({{key(".failures"), next.failures},
                                           {key(".lockedUntil"), next.lockedUntil},
                                           {key(".lockedUntilUptime"), next.lockedUntilUptime},
                                           {key(".boot"), next.boot}});
  if (stored) unsaved_.reset();
  return stored;
}

}  // namespace brindle
