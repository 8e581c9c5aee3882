#include "core/unlock_monitor.h"

#include <gtest/gtest.h>

#include "platform/memory/screen_lock_memory.h"
#include "testing/virtual_scheduler.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

class UnlockMonitorTest : public testing::Test {
 protected:
  UnlockMonitorTest() {
    monitor.onUnlock = [this] { ++unlocks; };
    monitor.onLock = [this](LockSignal signal, WallTime at) { signals.emplace_back(signal, at); };
    monitor.start();
  }
  void announceAndRun(SystemNotice notice) {
    screen.announce(notice);
    clock.run();
  }
  void TearDown() override {
    monitor.stop();
    EXPECT_EQ(clock.pending(), 0u);
  }

  VirtualScheduler clock;
  MemoryScreenLock screen{clock};
  UnlockMonitor monitor{screen, clock};
  int unlocks = 0;
  std::vector<std::pair<LockSignal, WallTime>> signals;
};

TEST_F(UnlockMonitorTest, UnlocksWithinTheDebounceAreOneUnlessTheClockWasSetBack) {
  const std::pair<Duration, int> rows[] = {{1s, 1}, {1500ms, 1}, {1501ms, 2}, {2s, 2}};
  for (const auto& [apart, expected] : rows) {
    clock.advance(1h);
    unlocks = 0;
    announceAndRun(SystemNotice::screenUnlocked);
    clock.advance(apart);
    announceAndRun(SystemNotice::screenUnlocked);
    EXPECT_EQ(unlocks, expected) << apart.count();
  }
  clock.setWallTime(clock.wallTime() - std::chrono::years(1));
  announceAndRun(SystemNotice::screenUnlocked);
  EXPECT_EQ(unlocks, 3);
}

TEST_F(UnlockMonitorTest, AWakeIsAnUnlockOneSecondLaterIfNothingIsLocked) {
  screen.setSessionActive(false);
  EXPECT_TRUE(monitor.lockState()) << "away from the console counts as locked";
  screen.setSessionActive(true);
  clock.advance(10s);
  EXPECT_FALSE(monitor.lockState());
  unlocks = 0;
  for (const auto woke : {SystemNotice::screensDidWake, SystemNotice::sessionBecameActive}) {
    screen.setLocked(true);
    announceAndRun(woke);
    clock.advance(10s);
    EXPECT_EQ(unlocks, 0) << "the locker is still there";

    screen.setLocked(false);
    clock.run();
    EXPECT_EQ(unlocks, 1);
    clock.advance(10s);
    announceAndRun(woke);
    clock.advance(999ms);
    EXPECT_EQ(unlocks, 1);
    clock.advance(1ms);
    EXPECT_EQ(unlocks, 2);
    clock.advance(10s);
    unlocks = 0;
  }
}

TEST_F(UnlockMonitorTest, EverySignalIsPassedOnOnceWithItsTimeUntilStopped) {
  using enum SystemNotice;
  monitor.start();  // a second start registers nothing twice
  const std::pair<SystemNotice, std::string_view> rows[] = {
      {screenLocked, "locked"},           {sessionResignedActive, "switched-user"},
      {screensDidSleep, "display-sleep"}, {willSleep, "sleep"},
      {willPowerOff, "shut-down"},        {didWake, "wake"}};
  for (const auto& [notice, raw] : rows) {
    clock.advance(1s);
    signals.clear();
    announceAndRun(notice);
    ASSERT_EQ(signals.size(), 1u) << raw;
    EXPECT_EQ(rawValue(signals[0].first), raw);
    EXPECT_EQ(signals[0].second, clock.wallTime());
  }
  announceAndRun(SystemNotice::screensDidWake);
  monitor.stop();
  signals.clear();
  for (const auto& [notice, raw] : rows) announceAndRun(notice);
  announceAndRun(SystemNotice::screenUnlocked);
  clock.advance(10s);
  EXPECT_TRUE(signals.empty());
  EXPECT_EQ(unlocks, 0) << "a check outlived the stop";
}

}  // namespace
}  // namespace brindle
