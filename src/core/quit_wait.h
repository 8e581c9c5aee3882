#pragma once

#include <functional>

#include "platform/scheduler.h"

namespace brindle {

/// The last wait of a run: for what is under way, but not forever. Main thread only.
class QuitWait {
 public:
  static constexpr Duration limit = std::chrono::seconds(8);
  static constexpr Duration look = std::chrono::milliseconds(100);

  explicit QuitWait(Scheduler& scheduler) : scheduler_(scheduler) {}

  /// `done` from the main loop, once nothing is under way any more or the limit is reached.
  void begin(std::function<bool()> underWay, std::function<void()> done);
  bool waiting() const { return quitAlertWait_.armed(); }

 private:
  void lookAgain();

  Scheduler& scheduler_;
  std::function<bool()> underWay_;
  std::function<void()> done_;
  Duration until_{};
  Timer quitAlertWait_;
};

}  // namespace brindle
