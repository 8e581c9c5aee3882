#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/epoll.h>

#include <fstream>
#include <optional>

#include "platform/contract/boot_clock_contract.h"
#include "platform/contract/crypto_contract.h"
#include "platform/contract/preferences_contract.h"
#include "platform/contract/random_contract.h"
#include "platform/contract/scheduler_contract.h"
#include "platform/contract/worker_queue_contract.h"
#include "platform/linux/boot_clock_linux.h"
#include "platform/linux/preferences_linux.h"
#include "platform/linux/random_linux.h"
#include "platform/linux/scheduler_linux.h"
#include "platform/memory/files_memory.h"
#include "platform/openssl/crypto_openssl.h"
#include "platform/posix/worker_queue_thread.h"
#include "testing/linux_loop.h"
#include "testing/recording_log.h"

namespace brindle {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;

struct LinuxLoop {
  std::unique_ptr<LinuxScheduler> scheduler = std::make_unique<LinuxScheduler>();
  std::unique_ptr<WorkerQueue> queue = std::make_unique<ThreadWorkerQueue>(*scheduler, "test");

  bool runUntil(const std::function<bool()>& done) { return brindle::runUntil(*scheduler, done); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, SchedulerContract, LinuxLoop);
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, WorkerQueueContract, LinuxLoop);
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, RandomContract, LinuxRandom);
INSTANTIATE_TYPED_TEST_SUITE_P(OpenSSL, CryptoContract, OpensslCrypto);

struct ClockBackend {
  LinuxScheduler scheduler;
  LinuxBootClock clock;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, BootClockContract, ClockBackend);

TEST(LinuxBootClockTest, CountsWithTheKernelWhateverTheWallClockSays) {
  double kernel = 0;
  std::ifstream("/proc/uptime") >> kernel;
  EXPECT_NEAR(std::chrono::duration<double>(LinuxBootClock().uptime()).count(), kernel, 5);
}

struct PreferencesBackend {
  MemoryFiles files;
  RecordingLog lines;
  std::optional<LinuxPreferences> all{std::in_place, files, "/home/owner/.config/Brindle",
                                      Log(lines)};
  Preferences& preferences() { return *all; }
  void reopen() { all.emplace(files, "/home/owner/.config/Brindle", Log(lines)); }
  void fail(bool failing) {
    if (failing) return files.failAll({FileError::Kind::noSpace, ENOSPC});
    files.failNothing();
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, PreferencesContract, PreferencesBackend);

class LinuxSchedulerTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK), 0); }
  void TearDown() override {
    for (const int end : ends) ::close(end);
  }
  bool readable() {
    pollfd waiting{loop.scheduler->fd(), POLLIN, 0};
    return ::poll(&waiting, 1, 0) == 1;
  }
  LinuxLoop loop;
  std::array<int, 2> ends{-1, -1};
};

TEST_F(LinuxSchedulerTest, TellsWatchersOfADescriptorUntilTheyEnd) {
  int first = 0;
  int second = 0;
  Subscription one;
  one = loop.scheduler->watch(ends[0], EPOLLIN,
                              [&, step = std::make_shared<int>(1)](std::uint32_t events) {
                                EXPECT_EQ(events, unsigned{EPOLLIN});
                                one.end();
                                first += *step;  // what it captured is still there
                              });
  const Subscription two =
      loop.scheduler->watch(ends[0], EPOLLIN, [&](std::uint32_t) { ++second; });
  const Subscription writable =
      loop.scheduler->watch(ends[1], EPOLLIN, [&](std::uint32_t) { FAIL(); });
  ASSERT_TRUE(one && two && writable);
  loop.scheduler->processReady();
  EXPECT_EQ(first + second, 0);
  ASSERT_EQ(::write(ends[1], "x", 1), 1);
  EXPECT_TRUE(loop.runUntil([&] { return second == 2; })) << "level-triggered";
  EXPECT_EQ(first, 1);
}

TEST_F(LinuxSchedulerTest, SaysWhatItCannotWatch) {
  EXPECT_FALSE(loop.scheduler->watch(-1, EPOLLIN, [](std::uint32_t) {}));
  Subscription late = loop.scheduler->watch(ends[0], EPOLLIN, [](std::uint32_t) {});
  loop.queue.reset();
  loop.scheduler.reset();
  late.end();  // after its scheduler
}

TEST_F(LinuxSchedulerTest, WakesForNothingWhileItWaits) {
  const Timer far = loop.scheduler->after(hours(1), [] {});
  Timer wall = loop.scheduler->atWallTime(loop.scheduler->wallTime() + hours(1), [] {});
  const Subscription quiet = loop.scheduler->watch(ends[0], EPOLLIN, [](std::uint32_t) {});
  EXPECT_FALSE(readable());
  loop.scheduler->post([] {});
  EXPECT_TRUE(readable());
  loop.scheduler->processReady();
  EXPECT_FALSE(readable());
  wall = loop.scheduler->atWallTime(WallTime{}, [] {});
  EXPECT_TRUE(readable());
  loop.scheduler->processReady();
  EXPECT_FALSE(readable()) << "a descriptor that fired stays ready";
}

TEST_F(LinuxSchedulerTest, ATaskThatGoesOnPostingItselfStarvesNobody) {
  bool timerRan = false;
  std::function<void()> again = [&] {
    if (!timerRan) loop.scheduler->post(again);
  };
  loop.scheduler->post(again);
  const Timer timer = loop.scheduler->after(milliseconds(1), [&] {
    timerRan = true;
    loop.scheduler->stop();
  });
  loop.scheduler->run();
  EXPECT_TRUE(timerRan);
}

TEST_F(LinuxSchedulerTest, ATaskMayRunTheLoopAndOrderIsKept) {
  std::string order;
  loop.scheduler->post([&] {
    order += 'a';
    loop.scheduler->processReady();
    order += 'c';
  });
  loop.scheduler->post([&] { order += 'b'; });
  EXPECT_TRUE(loop.runUntil([&] { return order.size() == 3; }));
  EXPECT_EQ(order, "abc");
}

class LinuxPreferencesTest : public testing::Test {
 protected:
  void put(std::string_view document) {
    ASSERT_TRUE(files.makeFolder("/c"));
    ASSERT_TRUE(files.writeWhole("/c/preferences.json", viewOf(document)));
  }
  MemoryFiles files;
  RecordingLog lines;
};

TEST_F(LinuxPreferencesTest, ADamagedFileIsSetAsideAndNeverOverwritten) {
  for (const std::string_view damaged : {"", "{\"a\":1", "[1]", "null", "{\"a\":1}x"}) {
    put(damaged);
    LinuxPreferences preferences(files, "/c", Log(lines));
    EXPECT_EQ(preferences.keys("").size(), 0u);
    EXPECT_TRUE(preferences.report().answered);
    EXPECT_NE(preferences.report().detail.find("set aside"), std::string::npos);
    EXPECT_TRUE(preferences.set("fresh", true));
  }
  EXPECT_EQ(lines.count("preferences are not JSON: defaults hold, the file was set aside"), 5u);
  EXPECT_EQ(files.list("/c")->size(), 6u);
  EXPECT_EQ(files.read("/c/preferences-unreadable-2.json"), bytesOf("{\"a\":1"));
}

TEST_F(LinuxPreferencesTest, AFileThatCannotBeOpenedOrMovedStaysAndForeignValuesSpoilNothing) {
  put("{\"a\":1}");
  files.failNext(FileOp::read, {FileError::Kind::denied, EACCES});
  LinuxPreferences closed(files, "/c", Log(lines));
  put("nonsense");
  files.failNext(FileOp::renameNew, {FileError::Kind::denied, EROFS});
  LinuxPreferences stuck(files, "/c", Log(lines));
  for (LinuxPreferences* each : {&closed, &stuck}) {
    EXPECT_FALSE(each->set("b", true));
    EXPECT_FALSE(each->report().answered);
  }
  EXPECT_EQ(lines.line(0),
            "preferences could not be read (13): defaults hold, nothing can be stored");
  EXPECT_TRUE(lines.line(1).ends_with("the file was left in place, nothing can be stored"));
  EXPECT_EQ(files.read("/c/preferences.json"), bytesOf("nonsense"));

  put(R"({"list":[1],"none":null,"huge":18446744073709551615,"good":"yes"})");
  const LinuxPreferences preferences(files, "/c", Log(lines));
  EXPECT_EQ(preferences.keys(""), std::vector<std::string>{"good"});
}

}  // namespace
}  // namespace brindle
