#pragma once

#include <atomic>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/posix/descriptor.h"
#include "platform/posix/main_loop.h"
#include "platform/timer_queue.h"

namespace brindle {

/// The main loop on Linux: one epoll set with an event descriptor for posted tasks, a timer
/// descriptor for each clock, and whatever else the program waits for. It wakes for these only.
class LinuxScheduler : public MainLoop {
 public:
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

  /// Takes epoll's names of the events as well as poll's: they are the same numbers.
  [[nodiscard]] Subscription watch(int descriptor, std::uint32_t events, Ready ready) override;

  int fd() const override { return epoll_.get(); }
  void processReady() override { turn(0); }
  void run() override;
  void stop() override;

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
