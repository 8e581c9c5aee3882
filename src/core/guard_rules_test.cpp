#include "core/alert_hold.h"
#include "core/opening_folding.h"
#include "testing/guard_fixture.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

TEST(OpeningFoldingTest, FoldsIntoTheEventBeingHandledOrElseTheLastForThreeSeconds) {
  const WallTime t{1h};
  const auto eventAt = [](WallTime date, bool resolved = false, bool attemptOnly = false) {
    UnlockEvent event;
    event.date = date;
    event.resolved = resolved;
    event.attemptOnly = attemptOnly;
    return std::make_shared<const UnlockEvent>(event);
  };
  const EventRef now = eventAt(t), old = eventAt(t - 1min);

  EXPECT_EQ(OpeningFolding::target(nullptr, now, t + 3s + 1us), nullptr);
  EXPECT_EQ(OpeningFolding::target(nullptr, now, t - 1us), nullptr) << "the clock was set back";
  EXPECT_EQ(OpeningFolding::target(old, now, t + 1s), nullptr) << "the one being handled decides";
  EXPECT_EQ(OpeningFolding::target(now, old, t + 1s), now);
  EXPECT_EQ(OpeningFolding::target(nullptr, eventAt(t, true), t), nullptr);
  EXPECT_EQ(OpeningFolding::target(nullptr, eventAt(t, false, true), t), nullptr);
  EXPECT_EQ(OpeningFolding::target(nullptr, eventAt(t - 24h * 366 * 586), t), nullptr)
      << "longer ago than a duration can say";
}

class AlertHoldTest : public testing::Test {
 protected:
  VirtualScheduler scheduler;
  MemoryBootClock clock{scheduler, [this] { return scheduler.slept(); }};
  std::vector<Uuid> released;
  AlertHold hold{scheduler, clock, [this](const Uuid& id) { released.push_back(id); }};
  Uuid one{{1}}, two{{2}};
};

TEST_F(AlertHoldTest, SleepCountsAndASetClockDoesNot) {
  hold.begin(one, 30s);
  scheduler.advance(10s);
  scheduler.sleepFor(19s);
  EXPECT_EQ(hold.secondsLeft(one), 1);
  scheduler.setWallTime(scheduler.wallTime() + 24h * 365);
  EXPECT_TRUE(released.empty()) << "set forward";
  scheduler.setWallTime(scheduler.wallTime() - 24h * 700);
  scheduler.advance(1s);
  EXPECT_EQ(released.size(), 1u) << "set back";

  hold.begin(one, 30s);
  hold.begin(two, 60s);
  scheduler.sleepFor(9h);
  scheduler.run();
  EXPECT_EQ(released, (std::vector{one, one, two})) << "slept over, released on wake";

  hold.begin(one, 30s);
  hold.end(one);
  scheduler.advance(1min);
  EXPECT_EQ(released.size(), 3u);
  EXPECT_EQ(scheduler.pending(), 0u);

  const WallTime t{1000h};
  EXPECT_EQ(heldSoFar(t, t + 5s), 5s);
  EXPECT_EQ(heldSoFar(t + 1h, t), 0s);
  EXPECT_GT(heldSoFar(WallTime::min(), t), 1h);
}

class StateSavingTest : public testing::Test {
 protected:
  VirtualScheduler scheduler;
  VirtualWorkerQueue worker{scheduler};
  MemoryFiles files;
  RecordingLog lines;
  PhotoVault vault{files, "/Brindle", [] { return std::string("20260302-100000"); }, Log(lines)};
  int snapshots = 0, recorded = 0;
  StateSaving saving{vault, worker, scheduler, [this] {
                       ++snapshots;
                       return SavedState{};
                     }};
  void SetUp() override { vault.load(); }
};

TEST_F(StateSavingTest, OneTurnSharesASaveAndARunningSaveIsFollowedByExactlyOne) {
  saving.changed();
  saving.changed();
  saving.whenRecorded([this] { ++recorded; });
  EXPECT_FALSE(saving.saved());
  worker.hold();
  scheduler.run();
  EXPECT_EQ(snapshots, 1);
  saving.changed();
  saving.whenRecorded([this] { recorded += 10; });
  saving.changed();
  scheduler.run();
  EXPECT_EQ(recorded, 0) << "nothing is recorded before it is on disk";
  worker.release();
  scheduler.run();
  EXPECT_EQ(snapshots, 2);
  EXPECT_EQ(recorded, 11);
  EXPECT_TRUE(saving.saved());
  saving.whenRecorded([this] { ++recorded; });
  EXPECT_EQ(recorded, 11) << "not inline";
  scheduler.run();
  EXPECT_EQ(recorded, 12);
}

TEST_F(StateSavingTest, TheEndDoesNotWaitForASaveThatFailsWhichIsTriedAgain) {
  files.failAll({FileError::Kind::noSpace, 28});
  saving.changed();
  std::vector<bool> finished;
  saving.finish([&](bool saved) { finished.push_back(saved); });
  scheduler.run();
  EXPECT_EQ(finished, std::vector{false});
  files.failNothing();
  scheduler.advance(12s);
  EXPECT_TRUE(saving.saved());
  EXPECT_EQ(scheduler.pending(), 0u);
}

}  // namespace
}  // namespace brindle
