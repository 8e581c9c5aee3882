#pragma once

#include <deque>
#include <memory>

#include "platform/worker_queue.h"

namespace brindle {

/// A worker queue without a thread: work runs when the virtual scheduler comes to it. Main thread
/// only.
class VirtualWorkerQueue final : public WorkerQueue {
 public:
  explicit VirtualWorkerQueue(Scheduler& scheduler) : state_(std::make_shared<State>(scheduler)) {}
  ~VirtualWorkerQueue() override { state_->jobs.clear(); }

  void run(Task work, Task done) override;
  void finish() override;

  /// While held, nothing is worked off: the worker is busy or slow.
  void hold() { state_->held = true; }
  void release();

 private:
  struct Job {
    Task work;
    Task done;
  };
  struct State {
    explicit State(Scheduler& s) : scheduler(s) {}
    Scheduler& scheduler;
    std::deque<Job> jobs;
    bool held = false;
  };
  static void workOne(State& state);
  static void schedule(const std::shared_ptr<State>& state);

  std::shared_ptr<State> state_;
};

}  // namespace brindle
