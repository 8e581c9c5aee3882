#include "platform/linux/scheduler_linux.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>

#include <algorithm>
#include <array>
#include <ctime>

namespace brindle {
namespace {

static_assert(EPOLLIN == POLLIN && EPOLLOUT == POLLOUT);

Duration readClock(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return std::chrono::seconds(now.tv_sec) + Duration(now.tv_nsec);
}

/// An absolute time for timerfd; what lies before the clock's start counts as its first nanosecond,
/// because zero would disarm.
itimerspec absolute(std::chrono::seconds whole, Duration rest) {
  itimerspec setting{};
  setting.it_value.tv_sec = std::max<std::int64_t>(whole.count(), 0);
  setting.it_value.tv_nsec = whole.count() < 0 ? 1 : rest.count();
  if (setting.it_value.tv_sec == 0 && setting.it_value.tv_nsec == 0) setting.it_value.tv_nsec = 1;
  return setting;
}

template <class Time>
itimerspec absoluteOf(Time sinceStart) {
  const auto whole = std::chrono::floor<std::chrono::seconds>(sinceStart);
  return absolute(whole, sinceStart - whole);
}

void drain(int fd) {
  std::uint64_t count = 0;
  (void)uninterrupted([&] { return ::read(fd, &count, sizeof count); });
}

}  // namespace

LinuxScheduler::LinuxScheduler()
    : epoll_(epoll_create1(EPOLL_CLOEXEC)),
      event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      awakeTimer_(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)),
      wallTimer_(timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC | TFD_NONBLOCK)),
      start_(readClock(CLOCK_MONOTONIC)),
      self_(std::make_shared<LinuxScheduler*>(this)) {
  for (const int fd : {event_.get(), awakeTimer_.get(), wallTimer_.get()}) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = fd;
    if (fd >= 0) epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, fd, &event);
  }
}

LinuxScheduler::~LinuxScheduler() = default;

bool LinuxScheduler::usable() const { return epoll_ && event_ && awakeTimer_ && wallTimer_; }

// The monotonic clock of Linux stands still during suspend; the boot-time clock does not.
Duration LinuxScheduler::awakeTime() const { return readClock(CLOCK_MONOTONIC) - start_; }

WallTime LinuxScheduler::wallTime() const {
  return WallTime(std::chrono::floor<WallTime::duration>(readClock(CLOCK_REALTIME)));
}

void LinuxScheduler::signal() {
  const std::uint64_t one = 1;
  // A full counter is as good as a signal, so a failure needs no answer.
  (void)uninterrupted([&] { return ::write(event_.get(), &one, sizeof one); });
}

void LinuxScheduler::post(Task task) {
  {
    const std::lock_guard lock(mutex_);
    posted_.push_back(std::move(task));
  }
  signal();
}

Timer LinuxScheduler::after(Duration delay, Task task) {
  Timer timer = timers_.addAwake(awakeTime() + std::max(delay, Duration::zero()), std::move(task));
  armDescriptors();
  return timer;
}

Timer LinuxScheduler::every(Duration interval, Task task) {
  Timer timer = timers_.addEvery(awakeTime() + interval, interval, std::move(task));
  armDescriptors();
  return timer;
}

Timer LinuxScheduler::atWallTime(WallTime due, Task task) {
  Timer timer = timers_.addWall(due, std::move(task));
  armDescriptors();
  return timer;
}

void LinuxScheduler::armDescriptors() {
  const auto awake = timers_.nextAwake();
  if (awake != awakeArmed_) {
    const itimerspec setting = awake ? absoluteOf(start_ + *awake) : itimerspec{};
    timerfd_settime(awakeTimer_.get(), TFD_TIMER_ABSTIME, &setting, nullptr);
    awakeArmed_ = awake;
  }
  const auto wall = timers_.nextWall();
  if (wall != wallArmed_) {
    const itimerspec setting = wall ? absoluteOf(wall->time_since_epoch()) : itimerspec{};
    // Setting the clock makes the descriptor readable, so that every wall timer is judged again.
    timerfd_settime(wallTimer_.get(), TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &setting,
                    nullptr);
    wallArmed_ = wall;
  }
}

bool LinuxScheduler::tellEpoll(int descriptor, bool known) {
  epoll_event event{};
  event.data.fd = descriptor;
  const auto watches = watches_.find(descriptor);
  if (watches == watches_.end()) {
    return epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, descriptor, &event) == 0;
  }
  for (const auto& watch : watches->second) event.events |= watch->events;
  return epoll_ctl(epoll_.get(), known ? EPOLL_CTL_MOD : EPOLL_CTL_ADD, descriptor, &event) == 0;
}

Subscription LinuxScheduler::watch(int descriptor, std::uint32_t events, Ready ready) {
  auto watch = std::make_shared<Watch>(Watch{events, std::move(ready)});
  auto& all = watches_[descriptor];
  const bool known = !all.empty();
  all.push_back(watch);
  if (!tellEpoll(descriptor, known)) {
    all.pop_back();
    if (all.empty()) watches_.erase(descriptor);
    return {};
  }
  return Subscription([weak = std::weak_ptr(self_), descriptor, watch = std::move(watch)] {
    if (const auto scheduler = weak.lock()) (*scheduler)->unwatch(descriptor, watch);
  });
}

void LinuxScheduler::unwatch(int descriptor, const std::shared_ptr<Watch>& watch) {
  watch->ready = nullptr;
  const auto found = watches_.find(descriptor);
  if (found == watches_.end()) return;
  std::erase(found->second, watch);
  if (found->second.empty()) watches_.erase(found);
  tellEpoll(descriptor, true);
}

void LinuxScheduler::dispatch(int descriptor, std::uint32_t events) {
  const auto found = watches_.find(descriptor);
  if (found == watches_.end()) return;
  const auto all = found->second;
  for (const auto& watch : all) {
    const std::uint32_t wanted = events & (watch->events | EPOLLERR | EPOLLHUP);
    // A copy keeps the function alive while it ends its own subscription.
    if (wanted != 0 && watch->ready) Ready(watch->ready)(wanted);
  }
}

void LinuxScheduler::runPosted() {
  const auto size = [this] {
    const std::lock_guard lock(mutex_);
    return posted_.size();
  };
  // Tasks posted meanwhile wait for the next turn, so that a task that posts itself starves nobody.
  for (std::size_t left = size(); left > 0; --left) {
    Task task;
    {
      const std::lock_guard lock(mutex_);
      if (posted_.empty()) return;
      task = std::move(posted_.front());
      posted_.pop_front();
    }
    if (task) task();
  }
  if (size() > 0) signal();
}

void LinuxScheduler::runTimers() {
  const std::uint64_t mark = timers_.mark();
  while (timers_.runOne({awakeTime(), wallTime()}, mark)) {
  }
}

void LinuxScheduler::turn(int timeoutMilliseconds) {
  std::array<epoll_event, 32> ready;
  const int count =
      epoll_wait(epoll_.get(), ready.data(), static_cast<int>(ready.size()), timeoutMilliseconds);
  for (int i = 0; i < count; ++i) {
    const int fd = ready[static_cast<std::size_t>(i)].data.fd;
    if (fd == event_.get() || fd == awakeTimer_.get() || fd == wallTimer_.get()) drain(fd);
    // A descriptor that fired, or was cancelled because the clock was set, has to be set anew.
    if (fd == awakeTimer_.get()) awakeArmed_.reset();
    if (fd == wallTimer_.get()) wallArmed_.reset();
  }
  runPosted();
  runTimers();
  for (int i = 0; i < count; ++i) {
    const epoll_event event = ready[static_cast<std::size_t>(i)];
    dispatch(event.data.fd, event.events);
  }
  armDescriptors();
}

void LinuxScheduler::run() {
  while (!stopping_) turn(-1);
  stopping_ = false;
}

void LinuxScheduler::stop() {
  stopping_ = true;
  signal();
}

}  // namespace brindle
