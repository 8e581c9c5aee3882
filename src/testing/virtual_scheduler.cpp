#include "testing/virtual_scheduler.h"

#include <algorithm>

namespace brindle {

WallTime VirtualScheduler::wallTime() const {
  return wallBase_ + std::chrono::floor<WallTime::duration>(sinceBase_);
}

void VirtualScheduler::post(Task task) {
  const std::lock_guard lock(mutex_);
  posted_.push_back(std::move(task));
}

Timer VirtualScheduler::after(Duration delay, Task task) {
  return timers_.addAwake(awake_ + std::max(delay, Duration::zero()), std::move(task));
}

Timer VirtualScheduler::every(Duration interval, Task task) {
  return timers_.addEvery(awake_ + interval, interval, std::move(task));
}

Timer VirtualScheduler::atWallTime(WallTime due, Task task) {
  return timers_.addWall(due, std::move(task));
}

bool VirtualScheduler::runOnePosted() {
  Task task;
  {
    const std::lock_guard lock(mutex_);
    if (posted_.empty()) return false;
    task = std::move(posted_.front());
    posted_.pop_front();
  }
  if (task) task();
  return true;
}

/// The awake time at which the next timer is due if nobody sets the clock; never before now.
std::optional<Duration> VirtualScheduler::nextDue() const {
  std::optional<Duration> next = timers_.nextAwake();
  if (const auto wall = timers_.nextWall()) {
    // Wall times reach further than nanoseconds do; a century ahead is as good as never.
    const auto far = std::chrono::hours(24 * 365 * 100);
    const auto distance = std::min<WallTime::duration>(*wall - wallBase_, far);
    const Duration due = awake_ + (std::max<WallTime::duration>(distance, -far) - sinceBase_);
    if (!next || due < *next) next = due;
  }
  return next ? std::optional(std::max(*next, awake_)) : std::nullopt;
}

void VirtualScheduler::moveTo(Duration awake) {
  sinceBase_ += awake - awake_;
  awake_ = awake;
}

void VirtualScheduler::advance(Duration time) {
  const Duration end = awake_ + time;
  if (running_) return moveTo(end);  // told from inside a task: the outer loop goes on from there
  running_ = true;
  for (;;) {
    if (runOnePosted() || timers_.runOne({awake_, wallTime()})) continue;
    const auto next = nextDue();
    if (!next || *next > end) break;
    moveTo(*next);
  }
  if (awake_ < end) moveTo(end);
  running_ = false;
}

void VirtualScheduler::sleepFor(Duration time) {
  slept_ += time;
  sinceBase_ += time;
  run();
}

void VirtualScheduler::setWallTime(WallTime time) {
  wallBase_ = time;
  sinceBase_ = Duration::zero();
  run();
}

}  // namespace brindle
