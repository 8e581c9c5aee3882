#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>

#include "platform/scheduler.h"

namespace brindle {

/// A backend offers `scheduler`, a pointer that can be reset, and `runUntil(condition)`, which lets
/// time pass until the condition holds and gives up after a while.
template <class Backend>
class SchedulerContract : public testing::Test {
 protected:
  Scheduler& scheduler() { return *backend.scheduler; }
  bool runUntil(const std::function<bool()>& condition) { return backend.runUntil(condition); }

  Backend backend;
};
TYPED_TEST_SUITE_P(SchedulerContract);

TYPED_TEST_P(SchedulerContract, PostedTasksRunLaterAndInOrderFromAnyThread) {
  std::string order;
  this->scheduler().post([&] {
    order += 'a';
    this->scheduler().post([&] { order += 'd'; });
    order += 'b';
  });
  std::thread([&] { this->scheduler().post([&] { order += 'c'; }); }).join();
  EXPECT_EQ(order, "") << "ran inline";
  EXPECT_TRUE(this->runUntil([&] { return order.size() == 4; }));
  EXPECT_EQ(order, "abcd");
}

TYPED_TEST_P(SchedulerContract, TimersRunByDueThenArmingOrderAndNeverEarly) {
  std::string order;
  const Duration start = this->scheduler().awakeTime();
  const auto late = [&] { return this->scheduler().awakeTime() - start; };
  const Timer third = this->scheduler().after(std::chrono::milliseconds(4), [&] {
    EXPECT_GE(late(), std::chrono::milliseconds(4));
    order += '3';
  });
  const Timer first = this->scheduler().after(std::chrono::milliseconds(-5), [&] { order += '1'; });
  const Timer second = this->scheduler().after(Duration::zero(), [&] { order += '2'; });
  const Timer fourth = this->scheduler().after(std::chrono::milliseconds(4), [&] { order += '4'; });
  EXPECT_EQ(order, "");
  EXPECT_TRUE(third.armed());
  EXPECT_TRUE(this->runUntil([&] { return order.size() == 4; }));
  EXPECT_EQ(order, "1234");
  EXPECT_FALSE(third.armed());
}

TYPED_TEST_P(SchedulerContract, CancelledWaitsCannotRunEvenWhenDue) {
  int wrong = 0;
  bool ended = false;
  const auto bad = [&] { ++wrong; };
  Timer reassigned = this->scheduler().after(Duration::zero(), bad);
  Timer cancelledByAnother;
  auto owner = std::make_unique<Timer>();
  Timer& self = *owner;
  self = this->scheduler().after(Duration::zero(), [&, state = std::make_shared<int>(7)] {
    EXPECT_FALSE(self.armed());
    owner.reset();
    cancelledByAnother.cancel();
    EXPECT_EQ(*state, 7) << "what the task captured must outlive its own timer";
  });
  cancelledByAnother = this->scheduler().after(Duration::zero(), bad);
  { const Timer destroyed = this->scheduler().after(Duration::zero(), bad); }
  reassigned = this->scheduler().after(std::chrono::milliseconds(1), [&] { ended = true; });
  EXPECT_TRUE(this->runUntil([&] { return ended; }));
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(owner, nullptr);
}

TYPED_TEST_P(SchedulerContract, RepeatedTimersGoOnUntilCancelledAndTimersMayOutliveTheScheduler) {
  Timer timer;
  timer = this->scheduler().every(std::chrono::milliseconds(1), [&, turns = 0]() mutable {
    if (++turns == 3) timer.cancel();
  });
  EXPECT_TRUE(timer.armed());
  EXPECT_TRUE(this->runUntil([&] { return !timer.armed(); }));
  timer = this->scheduler().after(std::chrono::hours(1), [] {});
  this->backend.scheduler.reset();
  EXPECT_FALSE(timer.armed());
  timer.cancel();
}

TYPED_TEST_P(SchedulerContract, WallTimersRunOnceTheirTimeHasCome) {
  std::string order;
  const WallTime due = this->scheduler().wallTime() + std::chrono::milliseconds(3);
  const Timer ahead = this->scheduler().atWallTime(due, [&] {
    EXPECT_GE(this->scheduler().wallTime(), due);
    order += 'b';
  });
  const Timer past = this->scheduler().atWallTime(WallTime{}, [&] { order += 'a'; });
  const Timer before1970 =
      this->scheduler().atWallTime(WallTime(-std::chrono::hours(1)), [&] { order += '-'; });
  const Timer never = this->scheduler().atWallTime(WallTime::max(), [&] { order += '!'; });
  EXPECT_EQ(order, "");
  EXPECT_TRUE(this->runUntil([&] { return order.size() == 3; }));
  EXPECT_EQ(order, "-ab");
  EXPECT_TRUE(never.armed());
}

REGISTER_TYPED_TEST_SUITE_P(SchedulerContract, PostedTasksRunLaterAndInOrderFromAnyThread,
                            TimersRunByDueThenArmingOrderAndNeverEarly,
                            CancelledWaitsCannotRunEvenWhenDue,
                            RepeatedTimersGoOnUntilCancelledAndTimersMayOutliveTheScheduler,
                            WallTimersRunOnceTheirTimeHasCome);

}  // namespace brindle
