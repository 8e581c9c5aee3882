#include "platform/mac/scheduler_mac.h"

#import <Foundation/Foundation.h>
#include <time.h>

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

class MacDispatchScheduler final : public MacScheduler {
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

std::unique_ptr<MacScheduler> makeMacScheduler() {
  return std::make_unique<MacDispatchScheduler>();
}

}  // namespace brindle
