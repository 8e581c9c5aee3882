#include "triggers/power_watcher.h"

#include <gtest/gtest.h>

#include "platform/contract/power_assertion_contract.h"
#include "platform/contract/power_source_contract.h"
#include "platform/memory/power_assertion_memory.h"
#include "platform/memory/power_source_memory.h"
#include "testing/virtual_scheduler.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

struct Machine {
  VirtualScheduler scheduler;
  MemoryPowerSource all{scheduler};
  MemoryPowerAssertions held_;
  Machine() { all.set({true, false}); }
  PowerSource& source() { return all; }
  PowerAssertions& assertions() { return held_; }
  int held(PowerAssertions::Kind kind) { return held_.held(kind); }
  void plug(bool in) { all.set({in, all.read().lidClosed}); }
  void closeLid(bool closed) { all.set({all.read().onAdapter, closed}); }
  template <class Condition>
  bool until(Condition done) {
    scheduler.run();
    return done();
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, PowerSourceContract, Machine);
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, PowerAssertionContract, Machine);

using Pair = std::pair<PowerReading, PowerReading>;

class PowerWatcherTest : public testing::Test {
 protected:
  std::vector<Pair> after(PowerReading reading) {
    told.clear();
    machine.all.set(reading);
    machine.scheduler.run();
    return told;
  }
  Machine machine;
  std::vector<Pair> told;
  PowerWatcher watcher{machine.all, machine.scheduler, [this](const auto& before, const auto& now) {
                         told.emplace_back(before, now);
                       }};
};

TEST_F(PowerWatcherTest, EachChangeIsToldOnceWithTheReadingBeforeFromStartToStop) {
  watcher.start();
  watcher.start();
  EXPECT_EQ(after({{}, true}), (std::vector{Pair({true, false}, {{}, true})}));
  EXPECT_TRUE(after({{}, true}).empty()) << "told, but nothing differs";
  watcher.stop();
  EXPECT_TRUE(after({true, false}).empty());
  watcher.start();
  EXPECT_EQ(after({true, true}), (std::vector{Pair({true, false}, {true, true})}))
      << "what happened while it was stopped is not told";
}

TEST_F(PowerWatcherTest, TheLidIsPolledEachSecondOnlyWhileNobodyTellsIt) {
  watcher.start();
  EXPECT_EQ(machine.scheduler.pending(), 0U);
  machine.all.setTellsLid(false);
  after({false, false});
  EXPECT_TRUE(after({false, true}).empty());
  machine.scheduler.advance(999ms);
  EXPECT_TRUE(told.empty());
  machine.scheduler.advance(1ms);
  EXPECT_EQ(told, (std::vector{Pair({false, false}, {false, true})}));
  machine.all.setTellsLid(true);
  after({true, true});
  EXPECT_EQ(machine.scheduler.pending(), 0U);
  watcher.stop();
  machine.all.setTellsLid(false);
  watcher.start();
  EXPECT_EQ(machine.scheduler.pending(), 1U);
  watcher.stop();
  EXPECT_EQ(machine.scheduler.pending(), 0U);
}

}  // namespace
}  // namespace brindle
