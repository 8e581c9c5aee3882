#include <gtest/gtest.h>

#include <algorithm>

#include "platform/contract/boot_clock_contract.h"
#include "platform/contract/camera_contract.h"
#include "platform/contract/crypto_contract.h"
#include "platform/contract/files_contract.h"
#include "platform/contract/flash_window_contract.h"
#include "platform/contract/http_contract.h"
#include "platform/contract/image_contract.h"
#include "platform/contract/keychain_contract.h"
#include "platform/contract/login_item_contract.h"
#include "platform/contract/notifications_contract.h"
#include "platform/contract/preferences_contract.h"
#include "platform/contract/quit_sender_contract.h"
#include "platform/contract/random_contract.h"
#include "platform/contract/scheduler_contract.h"
#include "platform/contract/screen_lock_contract.h"
#include "platform/contract/worker_queue_contract.h"
#include "platform/memory/boot_clock_memory.h"
#include "platform/memory/camera_memory.h"
#include "platform/memory/crypto_memory.h"
#include "platform/memory/files_memory.h"
#include "platform/memory/flash_window_memory.h"
#include "platform/memory/http_memory.h"
#include "platform/memory/image_memory.h"
#include "platform/memory/keychain_memory.h"
#include "platform/memory/login_item_memory.h"
#include "platform/memory/notifications_memory.h"
#include "platform/memory/preferences_memory.h"
#include "platform/memory/quit_sender_memory.h"
#include "platform/memory/random_memory.h"
#include "platform/memory/screen_lock_memory.h"
#include "testing/virtual_scheduler.h"
#include "testing/virtual_worker_queue.h"

namespace brindle {
namespace {

struct Loop {
  VirtualScheduler scheduler;
  template <class Condition>
  bool until(Condition done) {
    scheduler.run();
    return done();
  }
};

struct VirtualLoop {
  std::unique_ptr<VirtualScheduler> scheduler = std::make_unique<VirtualScheduler>();
  std::unique_ptr<WorkerQueue> queue = std::make_unique<VirtualWorkerQueue>(*scheduler);
  bool runUntil(const std::function<bool()>& condition) {
    for (int i = 0; i < 1000 && !condition(); ++i) scheduler->advance(std::chrono::milliseconds(1));
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

struct MemoryCameras : Loop {
  MemoryCamera works{scheduler}, missing{scheduler};
  MemoryCameras() { missing.setPresent(false); }
  CameraDevice& camera() { return works; }
  CameraDevice& noCamera() { return missing; }
  bool runUntil(const std::function<bool()>& done) { return until(done); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, CameraContract, MemoryCameras);

struct MemoryImages {
  MemoryImageReader images;
  ImageReader& reader() { return images; }
  Bytes picture(double level) { return MemoryImageReader::picture(level); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, ImageContract, MemoryImages);

struct MemoryFlashes {
  MemoryFlashWindow lightable, blind;
  MemoryFlashes() { blind.setHasScreen(false); }
  FlashWindow& window() { return lightable; }
  FlashWindow& withoutScreen() { return blind; }
  bool lit() const { return lightable.shown(); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, FlashWindowContract, MemoryFlashes);

struct MemoryLockBackend : Loop {
  MemoryScreenLock lock{scheduler};
  void lockScreen() { lock.setLocked(true); }
  void unlockScreen() { lock.setLocked(false); }
  void leave() { lock.setReachable(false); }
  void comeBack() { lock.setReachable(true); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, ScreenLockContract, MemoryLockBackend);

struct MemoryKeychainBackend {
  MemoryKeychain keychain;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, KeychainContract, MemoryKeychainBackend);

struct MemoryNotificationsBackend : Loop {
  MemoryNotifications notifications{scheduler};
  std::vector<std::string> shown() const {
    std::vector<std::string> titles;
    for (const auto& [id, each] : notifications.shown()) titles.push_back(each.title);
    std::ranges::sort(titles);
    return titles;
  }
  void click(const std::string& id) { notifications.activate(id); }
  void leave() { notifications.setFailing(true); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, NotificationsContract, MemoryNotificationsBackend);

struct MemoryLoginItemBackend {
  MemoryLoginItem item;
  void fail() { item.setProblem("not today"); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, LoginItemContract, MemoryLoginItemBackend);

struct MemoryHttpBackend {
  VirtualScheduler scheduler;
  MemoryFiles files;
  ScriptedService service{scheduler};
  MemoryHttp memory{scheduler, files};
  MemoryHttpBackend() { memory.setServer(service.server()); }
  Http& http() { return memory; }
  std::string url() const { return "http://127.0.0.1:1"; }
  std::string put(const std::string& name, const Bytes& bytes) {
    EXPECT_TRUE(files.writeWhole("/" + name, bytes));
    return "/" + name;
  }
  bool until(const std::function<bool()>& done) {
    for (int i = 0; i < 100 && !done(); ++i) scheduler.advance(std::chrono::milliseconds(10));
    return done();
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, HttpContract, MemoryHttpBackend);

struct MemoryQuitBackend : Loop {
  MemoryQuitSender sender{scheduler};
  void personQuits() { sender.order({"", false, "a test"}); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, QuitSenderContract, MemoryQuitBackend);

TEST(MemoryFilesTest, APowerCutDropsWhatIsNotFlushed) {
  MemoryFiles files;
  ASSERT_TRUE(files.makeFolder("/d"));
  ASSERT_TRUE(files.writeWhole("/d/state.json", viewOf("old")));
  ASSERT_TRUE(files.hardLink("/d/state.json", "/d/second"));
  ASSERT_TRUE(files.apply({FileOp::write, "/d/raw", {}, bytesOf("unflushed")}));
  const auto steps = files.steps();
  const auto strict = MemoryFiles::replay(steps, steps.size());
  EXPECT_EQ(strict->list("/d"), std::vector<std::string>{"state.json"});
  const auto names = MemoryFiles::replay(steps, steps.size(), MemoryFiles::Survives::allNames);
  EXPECT_EQ(names->list("/d"), (std::vector<std::string>{"raw", "second", "state.json"}));
  EXPECT_EQ(names->read("/d/raw"), Bytes{}) << "a name that came before its content";
  EXPECT_EQ(names->read("/d/state.json"), bytesOf("old"));
}

TEST(RandomTest, StillNamesEventsApartWhenTheSystemGivesNoBytes) {
  MemoryRandom failing;
  failing.setFailing(true);
  EXPECT_NE(failing.newUuid(), failing.newUuid());
}

}  // namespace
}  // namespace brindle
