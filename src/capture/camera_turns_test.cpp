#include "capture/camera_turns.h"

#include <gtest/gtest.h>

#include "testing/virtual_scheduler.h"

namespace brindle {
namespace {

TEST(CameraTurnsTest, FirstComeFirstServedAndLeavingTheQueueHurtsNobody) {
  VirtualScheduler clock;
  CameraTurns turns(clock);
  std::string order;
  auto a = turns.take([&] { order += 'a'; });
  auto b = turns.take([&] { order += 'b'; });
  auto c = turns.take([&] { order += 'c'; });
  EXPECT_EQ(order, "") << "granted inline";
  clock.run();
  EXPECT_EQ(order, "a");
  EXPECT_EQ(turns.waiting(), 2u);
  b.end();
  a.end();
  EXPECT_TRUE(turns.busy());
  c.end();  // granted, not told yet
  clock.run();
  EXPECT_EQ(order, "a");
  EXPECT_FALSE(turns.busy());
  Subscription d;
  d = turns.take([&] {
    order += 'd';
    d.end();  // within its own grant
  });
  clock.run();
  EXPECT_EQ(order, "ad");
  EXPECT_FALSE(turns.busy());
}

}  // namespace
}  // namespace brindle
