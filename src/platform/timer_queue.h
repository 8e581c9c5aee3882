#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>

#include "platform/scheduler.h"

namespace brindle {

/// The waits of a scheduler that reads its clocks itself: kept by due time, then by arming order.
/// Knows no clock of its own and never waits. Main thread only; timers may outlive it.
class TimerQueue {
 public:
  struct Now {
    Duration awake;
    WallTime wall;
  };

  [[nodiscard]] Timer addAwake(Duration due, Task task);
  /// Repeats: the next turn is the first multiple of `interval` after `firstDue` that lies ahead.
  [[nodiscard]] Timer addEvery(Duration firstDue, Duration interval, Task task);
  [[nodiscard]] Timer addWall(WallTime due, Task task);

  /// A mark between what is armed already and what comes later.
  std::uint64_t mark() const { return lists_->nextOrder; }
  /// Runs the most overdue task that was armed before `mark`; false when none is due.
  bool runOne(Now now, std::uint64_t mark = ~std::uint64_t{0});

  std::optional<Duration> nextAwake() const;
  std::optional<WallTime> nextWall() const;
  std::size_t armed() const { return lists_->awake.size() + lists_->wall.size(); }

 private:
  struct Wait;
  template <class Due>
  using List = std::map<std::pair<Due, std::uint64_t>, std::shared_ptr<Wait>>;
  struct Lists {
    List<Duration> awake;
    List<WallTime> wall;
    std::uint64_t nextOrder = 0;
  };
  Timer add(std::shared_ptr<Wait> wait);

  std::shared_ptr<Lists> lists_ = std::make_shared<Lists>();
};

}  // namespace brindle
