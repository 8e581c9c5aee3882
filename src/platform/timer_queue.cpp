#include "platform/timer_queue.h"

#include <algorithm>

namespace brindle {

struct TimerQueue::Wait final : Timer::Entry, std::enable_shared_from_this<Wait> {
  std::weak_ptr<Lists> lists;
  std::shared_ptr<Task> task;  // shared, so that a task may cancel its own wait while it runs
  Duration interval{0};
  std::optional<Duration> awakeDue;
  std::optional<WallTime> wallDue;
  std::uint64_t order = 0;

  void arm() {
    const auto all = lists.lock();
    if (!all) return;
    order = all->nextOrder++;
    if (awakeDue) all->awake.emplace(std::pair{*awakeDue, order}, shared_from_this());
    if (wallDue) all->wall.emplace(std::pair{*wallDue, order}, shared_from_this());
  }
  void disarm() {
    const auto all = lists.lock();
    if (!all) return;
    if (awakeDue) all->awake.erase({*awakeDue, order});
    if (wallDue) all->wall.erase({*wallDue, order});
  }
  void cancel() override {
    const auto self = shared_from_this();  // the list may hold the last other reference
    disarm();
    task.reset();
  }
  bool armed() const override { return task != nullptr && !lists.expired(); }

  void fire(Duration awakeNow) {
    disarm();
    const auto running = task;
    if (awakeDue && interval > Duration::zero()) {
      const auto missed = std::max<std::int64_t>(0, (awakeNow - *awakeDue) / interval);
      *awakeDue += (missed + 1) * interval;
      arm();
    } else {
      task.reset();
    }
    if (running && *running) (*running)();
  }
};

Timer TimerQueue::add(std::shared_ptr<Wait> wait) {
  wait->lists = lists_;
  wait->arm();
  return Timer(std::move(wait));
}

Timer TimerQueue::addAwake(Duration due, Task task) {
  auto wait = std::make_shared<Wait>();
  wait->awakeDue = due;
  wait->task = std::make_shared<Task>(std::move(task));
  return add(std::move(wait));
}

Timer TimerQueue::addEvery(Duration firstDue, Duration interval, Task task) {
  auto wait = std::make_shared<Wait>();
  wait->awakeDue = firstDue;
  // Less than a millisecond would keep the loop busy without end.
  wait->interval = std::max<Duration>(interval, std::chrono::milliseconds(1));
  wait->task = std::make_shared<Task>(std::move(task));
  return add(std::move(wait));
}

Timer TimerQueue::addWall(WallTime due, Task task) {
  auto wait = std::make_shared<Wait>();
  wait->wallDue = due;
  wait->task = std::make_shared<Task>(std::move(task));
  return add(std::move(wait));
}

bool TimerQueue::runOne(Now now, std::uint64_t mark) {
  const auto firstDue = [mark](const auto& list, auto latest) -> std::shared_ptr<Wait> {
    for (const auto& [key, wait] : list) {
      if (key.first > latest) break;
      if (key.second < mark) return wait;
    }
    return nullptr;
  };
  const auto awake = firstDue(lists_->awake, now.awake);
  const auto wall = firstDue(lists_->wall, now.wall);
  if (!awake && !wall) return false;
  auto next = awake ? awake : wall;
  if (awake && wall) {
    const Duration awakeLate = now.awake - awake->awakeDue.value_or(now.awake);
    const auto wallLate = now.wall - wall->wallDue.value_or(now.wall);
    if (wallLate > awakeLate || (wallLate == awakeLate && wall->order < awake->order)) next = wall;
  }
  next->fire(now.awake);
  return true;
}

std::optional<Duration> TimerQueue::nextAwake() const {
  if (lists_->awake.empty()) return std::nullopt;
  return lists_->awake.begin()->first.first;
}

std::optional<WallTime> TimerQueue::nextWall() const {
  if (lists_->wall.empty()) return std::nullopt;
  return lists_->wall.begin()->first.first;
}

}  // namespace brindle
