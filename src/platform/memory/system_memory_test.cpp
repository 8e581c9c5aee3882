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

using std::chrono::milliseconds;

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

TEST(RandomTest, StillNamesEventsApartWhenTheSystemGivesNoBytes) {
  MemoryRandom failing;
  failing.setFailing(true);
  EXPECT_NE(failing.newUuid(), failing.newUuid());
}

}  // namespace
}  // namespace brindle
