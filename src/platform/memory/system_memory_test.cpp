#include <gtest/gtest.h>

#include "platform/contract/boot_clock_contract.h"
#include "platform/contract/crypto_contract.h"
#include "platform/contract/files_contract.h"
#include "platform/contract/preferences_contract.h"
#include "platform/contract/random_contract.h"
#include "platform/contract/scheduler_contract.h"
#include "platform/contract/worker_queue_contract.h"
#include "platform/memory/boot_clock_memory.h"
#include "platform/memory/crypto_memory.h"
#include "platform/memory/files_memory.h"
#include "platform/memory/preferences_memory.h"
#include "platform/memory/random_memory.h"
#include "testing/virtual_scheduler.h"
#include "testing/virtual_worker_queue.h"

namespace brindle {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::seconds;

struct VirtualLoop {
  std::unique_ptr<VirtualScheduler> scheduler = std::make_unique<VirtualScheduler>();
  std::unique_ptr<WorkerQueue> queue = std::make_unique<VirtualWorkerQueue>(*scheduler);
  bool runUntil(const std::function<bool()>& condition) {
    for (int i = 0; i < 1000 && !condition(); ++i) scheduler->advance(milliseconds(1));
    return condition();
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, SchedulerContract, VirtualLoop);
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, WorkerQueueContract, VirtualLoop);

struct FilesBackend {
  MemoryFiles files;
  std::string root = "/home/owner/Brindle";
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, FilesContract, FilesBackend);

struct PreferencesBackend {
  MemoryPreferences all;
  Preferences& preferences() { return all; }
  void reopen() {}
  void fail(bool failing) { all.setFailing(failing); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, PreferencesContract, PreferencesBackend);
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, RandomContract, MemoryRandom);
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, CryptoContract, MemoryCrypto);

struct ClockBackend {
  VirtualScheduler scheduler;
  MemoryBootClock clock{scheduler, [this] { return scheduler.slept(); }};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, BootClockContract, ClockBackend);

TEST(VirtualSchedulerTest, RunsEachTaskAtItsOwnMoment) {
  VirtualScheduler clock;
  std::vector<Duration> moments;
  Timer chained;
  const Timer first = clock.after(seconds(2), [&] {
    moments.push_back(clock.awakeTime());
    chained = clock.after(seconds(1), [&] { moments.push_back(clock.awakeTime()); });
  });
  const Timer wall = clock.atWallTime(clock.wallTime() + milliseconds(2500),
                                      [&] { moments.push_back(clock.awakeTime()); });
  EXPECT_EQ(clock.pending(), 2u);
  clock.advance(seconds(10));
  EXPECT_EQ(moments, (std::vector<Duration>{seconds(2), milliseconds(2500), seconds(3)}));
  EXPECT_EQ(clock.awakeTime(), seconds(10));
  EXPECT_EQ(clock.pending(), 0u);
}

TEST(VirtualSchedulerTest, SleepAndClockChangesMoveTheWallClockOnly) {
  VirtualScheduler clock;
  const WallTime start = clock.wallTime();
  int awake = 0;
  int wall = 0;
  const Timer waiting = clock.after(hours(1), [&] { ++awake; });
  Timer due = clock.atWallTime(start + hours(2), [&] { ++wall; });
  clock.sleepFor(hours(9));
  EXPECT_EQ(wall, 1) << "slept over";
  EXPECT_EQ(awake, 0);
  EXPECT_EQ(clock.wallTime(), start + hours(9));
  EXPECT_EQ(clock.awakeTime(), Duration::zero());
  due = clock.atWallTime(start + hours(10), [&] { ++wall; });
  clock.setWallTime(start);
  clock.advance(hours(9));
  EXPECT_EQ(awake, 1);
  EXPECT_EQ(wall, 1) << "the clock was set back";
  clock.setWallTime(start + hours(10));
  EXPECT_EQ(wall, 2);
}

TEST(MemoryBootClockTest, CountsSleepAndIgnoresTheWallClock) {
  ClockBackend backend;
  const Duration before = backend.clock.uptime();
  backend.scheduler.advance(hours(1));
  backend.scheduler.sleepFor(hours(2));
  backend.scheduler.setWallTime(WallTime{});
  EXPECT_EQ(backend.clock.uptime() - before, hours(3));
  backend.clock.reboot("another");
  EXPECT_EQ(backend.clock.uptime(), Duration::zero());
}

TEST(VirtualWorkerQueueTest, AHeldWorkerIsBusyUntilReleased) {
  VirtualScheduler clock;
  VirtualWorkerQueue queue(clock);
  int done = 0;
  queue.hold();
  queue.run([] {}, [&] { ++done; });
  clock.run();
  EXPECT_EQ(done, 0);
  queue.release();
  clock.run();
  EXPECT_EQ(done, 1);
}

class MemoryFilesTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(files.makeFolder("/d"));
    ASSERT_TRUE(files.writeWhole(path, viewOf("old")));
  }
  std::string text(Files& from) {
    const auto content = from.read(path);
    return content ? std::string(textOf(*content)) : "(unreadable)";
  }
  const std::string path = "/d/state.json";
  MemoryFiles files;
};

TEST_F(MemoryFilesTest, AFailureAtAnyStepLeavesTheEarlierFile) {
  for (const FileOp op : {FileOp::write, FileOp::flush, FileOp::rename, FileOp::flushFolder}) {
    files.failNext(op, {FileError::Kind::noSpace, 28});
    EXPECT_FALSE(files.writeWhole(path, viewOf("new")));
    EXPECT_EQ(text(files), "old");
    EXPECT_EQ(files.list("/d"), std::vector<std::string>{"state.json"});
  }
  files.failAfter(2, {FileError::Kind::denied, 13});
  EXPECT_TRUE(files.read(path));
  EXPECT_TRUE(files.exists(path));
  EXPECT_EQ(files.read(path).error().kind, FileError::Kind::denied);
  files.failNothing();
  EXPECT_EQ(text(files), "old");
}

TEST_F(MemoryFilesTest, APowerCutDropsWhatIsNotFlushed) {
  ASSERT_TRUE(files.hardLink(path, "/d/second"));
  ASSERT_TRUE(files.apply({FileOp::write, "/d/raw", {}, bytesOf("unflushed")}));
  const auto steps = files.steps();
  const auto strict = MemoryFiles::replay(steps, steps.size());
  EXPECT_EQ(strict->list("/d"), std::vector<std::string>{"state.json"});
  const auto names = MemoryFiles::replay(steps, steps.size(), MemoryFiles::Survives::allNames);
  EXPECT_EQ(names->list("/d"), (std::vector<std::string>{"raw", "second", "state.json"}));
  EXPECT_EQ(names->read("/d/raw"), Bytes{}) << "a name that came before its content";
  EXPECT_EQ(text(*names), "old");
}

TEST(MemoryRandomTest, RepeatsItselfForTheSameSeedAndStillNamesEventsWhenItFails) {
  EXPECT_EQ(MemoryRandom(7).newUuid(), MemoryRandom(7).newUuid());
  EXPECT_NE(MemoryRandom(7).newUuid(), MemoryRandom(8).newUuid());
  MemoryRandom failing;
  failing.setFailing(true);
  EXPECT_NE(failing.newUuid(), failing.newUuid());
  EXPECT_EQ(failing.uniform(3, 4), 3);
}

TEST(MemoryCryptoTest, KeepsTheSizesItWasAskedWith) {
  MemoryCrypto crypto;
  Sha256 out{};
  ASSERT_TRUE(crypto.pbkdf2HmacSha256(viewOf("1234"), viewOf("salt salt"), 600'000, out));
  ASSERT_EQ(crypto.derivations().size(), 1u);
  EXPECT_EQ(crypto.derivations()[0].iterations, 600'000u);
  EXPECT_EQ(crypto.derivations()[0].secretSize, 4u);
  crypto.setFailing(true);
  EXPECT_FALSE(crypto.pbkdf2HmacSha256({}, {}, 1, out));
}

}  // namespace
}  // namespace brindle
