#pragma once

#include <functional>
#include <utility>

#include "platform/random.h"
#include "platform/scheduler.h"

namespace brindle {

/// The pause between two check-ins, never twice the same: many machines must not ask at once.
/// Main thread only.
class Heartbeat {
 public:
  static constexpr Duration usualInterval = std::chrono::seconds(240);

  /// `jitter` gives 0 to 1, and is kept there; without one it is drawn.
  Heartbeat(Scheduler& scheduler, Random& random, Duration heartbeatInterval,
            std::function<double()> jitter, std::function<void()> due)
      : scheduler_(scheduler),
        random_(random),
        heartbeatInterval_(heartbeatInterval),
        jitter_(std::move(jitter)),
        due_(std::move(due)) {}

  /// The next one is due after 80 % to 120 % of the interval, counted from now.
  void begin();
  void end() { timer_.cancel(); }
  bool running() const { return timer_.armed(); }

 private:
  Scheduler& scheduler_;
  Random& random_;
  Duration heartbeatInterval_;
  std::function<double()> jitter_;
  std::function<void()> due_;
  Timer timer_;
};

}  // namespace brindle
