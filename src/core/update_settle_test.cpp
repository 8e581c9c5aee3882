#include "core/update_settle.h"

#include <gtest/gtest.h>

#include "platform/memory/screen_lock_memory.h"
#include "testing/recording_log.h"
#include "testing/virtual_scheduler.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

class UpdateSettleTest : public testing::Test {
 protected:
  void ready() {
    settle.updateReady([this] { ++installs; });
  }
  void signal(LockSignal which) {
    if (which == LockSignal::sleep || which == LockSignal::wake) {
      facts.macAsleep = which == LockSignal::sleep;
    }
    settle.endedBy(which);
    settle.lockSignal(which);
  }
  void away(bool locked, bool dark) {
    screen.setLocked(locked);
    screen.setDisplayAsleep(dark);
  }
  void TearDown() override {
    settle.endedBy(LockSignal::wake);
    EXPECT_EQ(clock.pending(), 0u);
  }

  VirtualScheduler clock;
  MemoryScreenLock screen{clock};
  RecordingLog lines;
  UpdateSettle::Facts facts{.on = true};
  UpdateSettle settle{clock, screen, Log(lines), [this] { return facts; }};
  int installs = 0;
};

TEST_F(UpdateSettleTest, InstallsFiveSecondsAfterALockOrADarkDisplay) {
  for (const auto which : {LockSignal::locked, LockSignal::displaySleep}) {
    installs = 0;
    away(false, false);
    ready();
    EXPECT_TRUE(lines.has("update ready: installs at the next lock (on)"));
    away(which == LockSignal::locked, which == LockSignal::displaySleep);
    signal(which);
    signal(which);  // only one settle at a time
    const std::string raw(rawValue(which));
    EXPECT_EQ(lines.count("settle: 5.000000 s after " + raw), 1u) << lines.all();
    clock.advance(4999ms);
    EXPECT_EQ(installs, 0);
    clock.advance(1ms);
    EXPECT_EQ(installs, 1);
    EXPECT_TRUE(lines.has("installing: on true, after " + raw)) << lines.all();
    EXPECT_FALSE(settle.updateWaits());
  }
}

TEST_F(UpdateSettleTest, OtherSignalsAndMomentsStartNone) {
  screen.setLocked(true);
  signal(LockSignal::locked);
  EXPECT_FALSE(settle.settling()) << "no update waits";
  screen.setLocked(false);
  ready();
  for (const auto which : {LockSignal::switchedUser, LockSignal::sleep, LockSignal::shutDown}) {
    signal(which);
    EXPECT_FALSE(settle.settling()) << rawValue(which);
  }
  signal(LockSignal::locked);
  EXPECT_FALSE(settle.settling()) << "asleep";
  facts.macAsleep = false;
  facts.on = false;
  signal(LockSignal::locked);
  EXPECT_FALSE(settle.settling()) << "off";
}

TEST_F(UpdateSettleTest, SleepAndWakeEndItAndItWaitsForTheNextLock) {
  ready();
  screen.setLocked(true);
  for (const auto which : {LockSignal::sleep, LockSignal::wake}) {
    facts.macAsleep = false;
    signal(LockSignal::locked);
    ASSERT_TRUE(settle.settling());
    clock.advance(4999ms);
    signal(which);
    EXPECT_TRUE(
        lines.has("settle ended by " + std::string(rawValue(which)) + ": waits for the next lock"));
    clock.advance(1min);
    EXPECT_EQ(installs, 0);
  }
  EXPECT_TRUE(settle.updateWaits());
}

TEST_F(UpdateSettleTest, IsNotAwayWhenAnythingSpeaksAgainstIt) {
  const std::pair<const char*, std::function<void()>> rows[] = {
      {"on false, locked true, display asleep false, unlocked since false, Mac asleep false, "
       "unlock under way false",
       [this] { facts.on = false; }},
      {"on true, locked true, display asleep false, unlocked since true, Mac asleep false, "
       "unlock under way false",
       [this] { settle.unlockSeen(); }},
      {"on true, locked false, display asleep false, unlocked since true, Mac asleep false, "
       "unlock under way false",
       [this] { screen.setLocked(false), settle.unlockSeen(); }},
      {"on true, locked true, display asleep true, unlocked since false, Mac asleep true, "
       "unlock under way true",
       [this] { screen.setDisplayAsleep(true), facts.macAsleep = facts.unlockUnderWay = true; }}};
  settle.unlockSeen();  // one before the settle does not count
  for (const auto& [seen, happens] : rows) {
    facts = {.on = true};
    away(true, false);
    ready();
    clock.advance(3s);
    happens();
    clock.advance(2s);
    EXPECT_TRUE(
        lines.has(std::string("settle over, not away (") + seen + "): waits for the next lock"))
        << lines.all();
  }
  EXPECT_EQ(installs, 0);
}

TEST_F(UpdateSettleTest, AReadyUpdateStartsAtOnceWhereNobodyIs) {
  screen.setDisplayAsleep(true);
  ready();
  EXPECT_TRUE(lines.has("settle: 5.000000 s after display-sleep")) << lines.all();
  clock.advance(5s);
  EXPECT_EQ(installs, 1);

  facts = {};
  ready();
  EXPECT_EQ(installs, 2);
  EXPECT_TRUE(lines.has("update ready: installs now (off)"));
}

}  // namespace
}  // namespace brindle
