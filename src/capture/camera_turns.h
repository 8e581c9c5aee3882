#pragma once

#include <deque>
#include <memory>

#include "base/subscription.h"
#include "platform/scheduler.h"

namespace brindle {

/// Lets one user of the camera work at a time, first come first served. Main thread only.
class CameraTurns {
 public:
  explicit CameraTurns(Scheduler& scheduler) : state_(std::make_shared<State>(scheduler)) {}

  /// Calls `granted` from the main loop once it is the caller's turn. Ending the subscription gives
  /// the turn on, or leaves the queue.
  [[nodiscard]] Subscription take(Task granted);

  /// Somebody has the turn, or is about to be told so.
  bool busy() const { return state_->busy; }
  std::size_t waiting() const { return state_->waiting.size(); }

 private:
  struct Ticket {
    Task granted;
    bool ended = false;
  };
  struct State {
    explicit State(Scheduler& s) : scheduler(s) {}
    Scheduler& scheduler;
    bool busy = false;
    std::deque<std::shared_ptr<Ticket>> waiting;
  };
  static void grantNext(State& state);
  static void end(State& state, const std::shared_ptr<Ticket>& ticket);

  std::shared_ptr<State> state_;
};

}  // namespace brindle
