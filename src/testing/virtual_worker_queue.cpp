#include "testing/virtual_worker_queue.h"

namespace brindle {

void VirtualWorkerQueue::workOne(State& state) {
  Job job = std::move(state.jobs.front());
  state.jobs.pop_front();
  if (job.work) job.work();
  if (job.done) state.scheduler.post(std::move(job.done));
}

void VirtualWorkerQueue::schedule(const std::shared_ptr<State>& state) {
  state->scheduler.post([weak = std::weak_ptr(state)] {
    const auto alive = weak.lock();
    if (alive && !alive->held && !alive->jobs.empty()) workOne(*alive);
  });
}

void VirtualWorkerQueue::run(Task work, Task done) {
  state_->jobs.push_back({std::move(work), std::move(done)});
  schedule(state_);
}

void VirtualWorkerQueue::release() {
  state_->held = false;
  for (std::size_t i = 0; i < state_->jobs.size(); ++i) schedule(state_);
}

void VirtualWorkerQueue::finish() {
  while (!state_->jobs.empty()) workOne(*state_);
}

}  // namespace brindle
