#include "platform/mac/scheduler_mac.h"

#import <Foundation/Foundation.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>

#include "platform/mac/mac_support.h"
#include "platform/timer_queue.h"

namespace brindle {
namespace {

Duration awakeNow() {
  // Stands still in sleep, like the clock behind dispatch_time.
  return std::chrono::nanoseconds(clock_gettime_nsec_np(CLOCK_UPTIME_RAW));
}

WallTime wallNow() {
  return std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
}

dispatch_time_t dispatchTime(Duration awakeDue) {
  const Duration left = std::max(awakeDue - awakeNow(), Duration::zero());
  return dispatch_time(DISPATCH_TIME_NOW, left.count());
}

dispatch_time_t dispatchTime(WallTime due) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(due);
  const timespec moment{seconds.time_since_epoch().count(),
                        std::chrono::nanoseconds(due - seconds).count()};
  return dispatch_walltime(&moment, 0);
}

/// Reachable from dispatch's blocks, which hold it weakly: nothing runs once the scheduler is gone.
struct Loop final : std::enable_shared_from_this<Loop> {
  TimerQueue waits;
  dispatch_source_t awakeSource = nil;
  dispatch_source_t wallSource = nil;
  std::optional<Duration> awakeSet;
  std::optional<WallTime> wallSet;
  id<NSObject> clockObserver = nil;

  void begin() {
    awakeSource = newSource();
    wallSource = newSource();
    const std::weak_ptr<Loop> weak = weak_from_this();
    // The system re-judges its wall timers when the clock is set; asked again here, so that a wait
    // does not depend on how it treats a source whose time has been passed by a jump.
    clockObserver =
        [NSNotificationCenter.defaultCenter addObserverForName:NSSystemClockDidChangeNotification
                                                        object:nil
                                                         queue:NSOperationQueue.mainQueue
                                                    usingBlock:^(NSNotification*) {
                                                      if (const auto loop = weak.lock())
                                                        loop->turn();
                                                    }];
  }

  ~Loop() {
    if (clockObserver) [NSNotificationCenter.defaultCenter removeObserver:clockObserver];
    if (awakeSource) dispatch_source_cancel(awakeSource);
    if (wallSource) dispatch_source_cancel(wallSource);
  }

  dispatch_source_t newSource() {
    dispatch_source_t source =
        dispatch_source_create(DISPATCH_SOURCE_TYPE_TIMER, 0, 0, dispatch_get_main_queue());
    const std::weak_ptr<Loop> weak = weak_from_this();
    dispatch_source_set_event_handler(source, ^{
      if (const auto loop = weak.lock()) loop->turn();
    });
    dispatch_source_set_timer(source, DISPATCH_TIME_FOREVER, DISPATCH_TIME_FOREVER, 0);
    dispatch_resume(source);
    return source;
  }

  void turn() {
    // What a task arms waits for the next turn, so that a task cannot keep the loop to itself.
    const auto mark = waits.mark();
    while (waits.runOne({awakeNow(), wallNow()}, mark)) {
    }
    rearm(true);  // a source has fired or the clock was set: what is set no longer counts
  }

  void rearm(bool anew) {
    set(awakeSource, awakeSet, waits.nextAwake(), anew);
    set(wallSource, wallSet, waits.nextWall(), anew);
  }

  template <class Due>
  static void set(dispatch_source_t source, std::optional<Due>& present, std::optional<Due> wanted,
                  bool anew) {
    if (present == wanted && !anew) return;
    present = wanted;
    const dispatch_time_t start = wanted ? dispatchTime(*wanted) : DISPATCH_TIME_FOREVER;
    dispatch_source_set_timer(source, start, DISPATCH_TIME_FOREVER, NSEC_PER_MSEC);
  }
};

/// One descriptor that is waited for; nothing runs once this is gone.
struct Watch {
  MainLoop::Ready ready;
  std::vector<dispatch_source_t> sources;

  ~Watch() {
    for (dispatch_source_t source : sources) dispatch_source_cancel(source);
  }
};

/// False when the system refuses.
bool addSource(const std::shared_ptr<Watch>& watch, std::weak_ptr<Loop> loop, int descriptor,
               dispatch_source_type_t type, std::uint32_t event) {
  // Dispatch wants the descriptor to stay open until it has taken note of the cancellation, which
  // is later than a subscription's end: so it gets one of its own.
  const int own = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
  if (own < 0) return false;
  dispatch_source_t source =
      dispatch_source_create(type, static_cast<std::uintptr_t>(own), 0, dispatch_get_main_queue());
  const std::weak_ptr<Watch> weak = watch;
  dispatch_source_set_event_handler(source, ^{
    const auto watched = weak.lock();
    // A copy: it may end its own subscription.
    if (watched && loop.lock()) MainLoop::Ready(watched->ready)(event);
  });
  dispatch_source_set_cancel_handler(source, ^{
    close(own);
  });
  dispatch_resume(source);
  watch->sources.push_back(source);
  return true;
}

bool isOrdinaryFile(int descriptor) {
  struct stat found {};
  return fstat(descriptor, &found) != 0 || S_ISREG(found.st_mode);
}

class MacDispatchScheduler final : public MainLoop {
 public:
  MacDispatchScheduler() { loop_->begin(); }

  Duration awakeTime() const override { return awakeNow(); }
  WallTime wallTime() const override { return wallNow(); }

  void post(Task task) override {
    mac::onMain([weak = std::weak_ptr<Loop>(loop_), task = std::move(task)] {
      if (weak.lock()) task();
    });
  }
  Timer after(Duration delay, Task task) override {
    const Duration wait = std::max(delay, Duration::zero());
    return armed(loop_->waits.addAwake(awakeNow() + wait, std::move(task)));
  }
  Timer every(Duration interval, Task task) override {
    return armed(loop_->waits.addEvery(awakeNow() + interval, interval, std::move(task)));
  }
  Timer atWallTime(WallTime due, Task task) override {
    return armed(loop_->waits.addWall(due, std::move(task)));
  }

  Subscription watch(int descriptor, std::uint32_t events, Ready ready) override {
    if (isOrdinaryFile(descriptor)) return {};
    const auto watch = std::make_shared<Watch>(Watch{std::move(ready), {}});
    const bool reads = (events & POLLIN) == 0 ||
                       addSource(watch, loop_, descriptor, DISPATCH_SOURCE_TYPE_READ, POLLIN);
    const bool writes = (events & POLLOUT) == 0 ||
                        addSource(watch, loop_, descriptor, DISPATCH_SOURCE_TYPE_WRITE, POLLOUT);
    if (!reads || !writes) return {};
    return Subscription([held = watch]() mutable { held.reset(); });
  }

  int fd() const override { return -1; }
  void processReady() override {}  // nobody is told to call it
  void run() override { CFRunLoopRun(); }
  void stop() override { CFRunLoopStop(CFRunLoopGetMain()); }

 private:
  Timer armed(Timer timer) {
    loop_->rearm(false);
    return timer;
  }

  std::shared_ptr<Loop> loop_ = std::make_shared<Loop>();
};

}  // namespace

std::unique_ptr<MainLoop> makeMacScheduler() { return std::make_unique<MacDispatchScheduler>(); }

}  // namespace brindle
