#include <gtest/gtest.h>

#include <algorithm>

#include "platform/contract/apple_sign_in_contract.h"
#include "platform/contract/background_transfer_contract.h"
#include "platform/contract/boot_clock_contract.h"
#include "platform/contract/browser_contract.h"
#include "platform/contract/calendar_contract.h"
#include "platform/contract/camera_contract.h"
#include "platform/contract/crypto_contract.h"
#include "platform/contract/files_contract.h"
#include "platform/contract/flash_window_contract.h"
#include "platform/contract/http_contract.h"
#include "platform/contract/image_contract.h"
#include "platform/contract/keychain_contract.h"
#include "platform/contract/login_item_contract.h"
#include "platform/contract/machine_contract.h"
#include "platform/contract/network_path_contract.h"
#include "platform/contract/notifications_contract.h"
#include "platform/contract/opened_links_contract.h"
#include "platform/contract/preferences_contract.h"
#include "platform/contract/push_registration_contract.h"
#include "platform/contract/quit_sender_contract.h"
#include "platform/contract/random_contract.h"
#include "platform/contract/scheduler_contract.h"
#include "platform/contract/screen_lock_contract.h"
#include "platform/contract/system_power_contract.h"
#include "platform/contract/web_sign_in_contract.h"
#include "platform/contract/worker_queue_contract.h"
#include "platform/memory/apple_sign_in_memory.h"
#include "platform/memory/background_transfer_memory.h"
#include "platform/memory/boot_clock_memory.h"
#include "platform/memory/browser_memory.h"
#include "platform/memory/calendar_memory.h"
#include "platform/memory/camera_memory.h"
#include "platform/memory/crypto_memory.h"
#include "platform/memory/files_memory.h"
#include "platform/memory/flash_window_memory.h"
#include "platform/memory/http_memory.h"
#include "platform/memory/image_memory.h"
#include "platform/memory/keychain_memory.h"
#include "platform/memory/login_item_memory.h"
#include "platform/memory/machine_memory.h"
#include "platform/memory/network_path_memory.h"
#include "platform/memory/notifications_memory.h"
#include "platform/memory/opened_links_memory.h"
#include "platform/memory/preferences_memory.h"
#include "platform/memory/process_activity_memory.h"
#include "platform/memory/push_registration_memory.h"
#include "platform/memory/quit_sender_memory.h"
#include "platform/memory/random_memory.h"
#include "platform/memory/screen_lock_memory.h"
#include "platform/memory/system_power_memory.h"
#include "platform/memory/web_sign_in_memory.h"
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

struct MemoryZone : Loop {
  MemoryCalendar calendar{scheduler};
  void enter(const char*, int before, WallTime change, int after) {
    calendar.setZone(std::chrono::minutes(before), {{change, std::chrono::minutes(after)}});
  }
  void tell() { calendar.tell(); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, CalendarContract, MemoryZone);

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

/// A scripted alert service, reached without a network.
struct MemoryNetwork {
  VirtualScheduler scheduler;
  MemoryFiles files;
  ScriptedService service{scheduler};
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

struct MemoryHttpBackend : MemoryNetwork {
  MemoryHttp memory{scheduler, files};
  MemoryHttpBackend() { memory.setServer(service.server()); }
  Http& http() { return memory; }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, HttpContract, MemoryHttpBackend);

struct MemoryTransferBackend : MemoryNetwork {
  MemoryBackgroundTransfer transfer{scheduler, files, "brindle.alerts"};
  MemoryTransferBackend() { transfer.setServer(service.server()); }
  BackgroundTransfer& launch() { return transfer; }
  void quit() { transfer.detach(); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, BackgroundTransferContract, MemoryTransferBackend);

struct MemoryPowerBackend : Loop {
  MemorySystemPower all{scheduler};
  SystemPower& power() { return all; }
  void sleep() { all.announceSleep(); }
  void wake() { all.wake(); }
  bool asleepOrAwakeAgain() const { return all.allowed() == all.announced(); }
  bool waitsForUs() { return all.waitsForSomebody(); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, SystemPowerContract, MemoryPowerBackend);

struct MemoryLinksBackend : Loop {
  MemoryOpenedLinks all{scheduler};
  OpenedLinks& links() { return all; }
  void install(const std::string& scheme) { all.setRegistered(scheme); }
  void open(const std::string& link) { all.open(link); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, OpenedLinksContract, MemoryLinksBackend);

struct MemorySignInBackend : Loop {
  MemoryWebSignIn all{scheduler};
  WebSignIn& signIn() { return all; }
  void comeBack(const std::string& query) { all.redirect(query); }
  void loseInterest() { scheduler.advance(std::chrono::minutes(10)); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, WebSignInContract, MemorySignInBackend);

struct MemoryAppleBackend : Loop {
  MemoryAppleSignIn all{scheduler};
  AppleSignIn& appleSignIn() { return all; }
  void fail() { all.fail("not today"); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, AppleSignInContract, MemoryAppleBackend);

struct MemoryBrowserBackend : Loop {
  MemoryBrowser all{scheduler};
  Browser& browser() { return all; }
  std::string shown() { return all.pages.back(); }
  void breakDown() { all.problem = "not today"; }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, BrowserContract, MemoryBrowserBackend);

struct MemoryPathBackend : Loop {
  MemoryNetworkPath all{scheduler};
  NetworkPath& path() { return all; }
  void comeBack() { all.comeBack(); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, NetworkPathContract, MemoryPathBackend);

struct MemoryPushBackend : Loop {
  MemoryPushRegistration all{scheduler};
  PushRegistration& push() { return all; }
  void give(const std::string& token) { all.setToken(token); }
  void takeBack() { all.setProblem("gone"); }
  void send(const Bytes& message) { all.receive(message); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, PushRegistrationContract, MemoryPushBackend);

struct MemoryMachineBackend {
  MemoryMachine named;
  MemoryProcessActivity counted;
  Machine& machine() { return named; }
  ProcessActivity& activity() { return counted; }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, MachineContract, MemoryMachineBackend);

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
