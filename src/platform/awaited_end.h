#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "base/subscription.h"
#include "platform/scheduler.h"

namespace brindle {

/// The one end of something that a person does outside this program: told from the main loop, once,
/// and not after whoever waits gave up. Main thread only.
template <class End>
class AwaitedEnd {
 public:
  /// `meanwhile` is let go when the end is told or the subscription ends, whichever comes first.
  [[nodiscard]] Subscription expect(std::function<void(End)> done, Subscription meanwhile = {}) {
    state_ = std::make_shared<State>(State{std::move(done), std::move(meanwhile)});
    return Subscription([state = state_] {
      state->done = nullptr;
      state->meanwhile.end();
    });
  }
  bool waiting() const { return state_ && state_->done; }
  void tell(Scheduler& scheduler, End end) {
    if (!waiting()) return;
    const auto state = std::exchange(state_, nullptr);
    scheduler.post([state, end = std::move(end)] {
      if (const auto done = std::exchange(state->done, nullptr)) done(end);
    });
    state->meanwhile.end();
  }

 private:
  struct State {
    std::function<void(End)> done;
    Subscription meanwhile;
  };
  std::shared_ptr<State> state_;
};

}  // namespace brindle
