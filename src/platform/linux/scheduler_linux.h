#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "base/subscription.h"
#include "platform/posix/descriptor.h"
#include "platform/scheduler.h"
#include "platform/timer_queue.h"

namespace brindle {

/// The main loop on Linux: one epoll set with an event descriptor for posted tasks, a timer
/// descriptor for each clock, and whatever else the program waits for. It wakes for these only.
/// Either `run` owns the thread, or a window toolkit watches `fd` and calls `processReady` when
/// that is readable.
class LinuxScheduler final : public Scheduler {
 public:
  using Ready = std::function<void(std::uint32_t events)>;

  LinuxScheduler();
  LinuxScheduler(const LinuxScheduler&) = delete;
  LinuxScheduler& operator=(const LinuxScheduler&) = delete;
  ~LinuxScheduler() override;

  /// False when the system gave no descriptors: nothing would ever run.
  bool usable() const;

  Duration awakeTime() const override;
  WallTime wallTime() const override;
  void post(Task task) override;
  [[nodiscard]] Timer after(Duration delay, Task task) override;
  [[nodiscard]] Timer every(Duration interval, Task task) override;
  [[nodiscard]] Timer atWallTime(WallTime due, Task task) override;

  /// Calls `ready` with the epoll events that came up (EPOLLIN, …, always also EPOLLERR and
  /// EPOLLHUP) until the subscription ends; end it before the descriptor is closed.
  /// Level-triggered; a descriptor may be watched several times. Empty when it cannot be watched
  /// (an ordinary file). Main thread only.
  [[nodiscard]] Subscription watch(int descriptor, std::uint32_t events, Ready ready);

  int fd() const { return epoll_.get(); }
  /// Runs what is ready, one turn, without waiting. May be called from inside a task.
  void processReady() { turn(0); }
  /// Runs until `stop`.
  void run();
  /// Any thread.
  void stop();

 private:
  struct Watch {
    std::uint32_t events = 0;
    Ready ready;
  };
  using Watches = std::map<int, std::vector<std::shared_ptr<Watch>>>;

  void turn(int timeoutMilliseconds);
  void runPosted();
  void runTimers();
  void dispatch(int descriptor, std::uint32_t events);
  void unwatch(int descriptor, const std::shared_ptr<Watch>& watch);
  bool tellEpoll(int descriptor, bool known);
  void signal();
  /// Sets the timer descriptors to what is due next, if that changed.
  void armDescriptors();

  Descriptor epoll_;
  Descriptor event_;
  Descriptor awakeTimer_;
  Descriptor wallTimer_;
  std::optional<Duration> awakeArmed_;
  std::optional<WallTime> wallArmed_;
  Duration start_{0};
  TimerQueue timers_;
  Watches watches_;
  std::mutex mutex_;
  std::deque<Task> posted_;
  std::atomic<bool> stopping_ = false;
  std::shared_ptr<LinuxScheduler*> self_;  // empty once it is gone: subscriptions may outlive it
};

}  // namespace brindle
