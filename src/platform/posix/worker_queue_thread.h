#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

#include "platform/worker_queue.h"

namespace brindle {

/// A worker queue with a thread of its own. Signals are never delivered to that thread. Where the
/// system gives no thread, work runs on the main loop: slower, but nothing is lost.
class ThreadWorkerQueue final : public WorkerQueue {
 public:
  /// `name` is what the system's tools show for the thread, at most 15 characters.
  ThreadWorkerQueue(Scheduler& scheduler, std::string name);
  ~ThreadWorkerQueue() override;

  void run(Task work, Task done) override;
  void finish() override;

 private:
  struct Job {
    Task work;
    Task done;
  };
  void workOff(const std::string& name);

  Scheduler& scheduler_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Job> jobs_;
  bool busy_ = false;
  bool ending_ = false;
  std::thread thread_;
};

}  // namespace brindle
