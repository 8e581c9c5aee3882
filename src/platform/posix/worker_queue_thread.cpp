#include "platform/posix/worker_queue_thread.h"

#include <pthread.h>

#include <system_error>

#include "platform/posix/signals_blocked.h"

namespace brindle {
namespace {

void nameThisThread(const std::string& name) {
#ifdef __APPLE__
  pthread_setname_np(name.c_str());
#else
  pthread_setname_np(pthread_self(), name.c_str());
#endif
}

}  // namespace

ThreadWorkerQueue::ThreadWorkerQueue(Scheduler& scheduler, std::string name)
    : scheduler_(scheduler) {
  const SignalsBlocked blocked;
  try {
    thread_ = std::thread([this, name = std::move(name)] { workOff(name); });
  } catch (const std::system_error&) {
    // Without a thread `run` uses the main loop.
  }
}

ThreadWorkerQueue::~ThreadWorkerQueue() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  changed_.notify_all();
  if (thread_.joinable()) thread_.join();
}

void ThreadWorkerQueue::run(Task work, Task done) {
  if (!thread_.joinable()) {
    scheduler_.post(std::move(work));
    if (done) scheduler_.post(std::move(done));
    return;
  }
  {
    const std::lock_guard lock(mutex_);
    jobs_.push_back({std::move(work), std::move(done)});
  }
  changed_.notify_all();
}

void ThreadWorkerQueue::finish() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return jobs_.empty() && !busy_; });
}

void ThreadWorkerQueue::workOff(const std::string& name) {
  nameThisThread(name);
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return ending_ || !jobs_.empty(); });
    if (ending_) return;
    Job job = std::move(jobs_.front());
    jobs_.pop_front();
    busy_ = true;
    lock.unlock();
    job.work();
    job.work = nullptr;  // what it captured goes here, before anyone is told that it is done
    if (job.done) scheduler_.post(std::move(job.done));
    lock.lock();
    busy_ = false;
    changed_.notify_all();
  }
}

}  // namespace brindle
