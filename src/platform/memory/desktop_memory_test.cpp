#include <gtest/gtest.h>

#include <algorithm>

#include "platform/contract/keychain_contract.h"
#include "platform/contract/login_item_contract.h"
#include "platform/contract/notifications_contract.h"
#include "platform/contract/quit_sender_contract.h"
#include "platform/contract/screen_lock_contract.h"
#include "platform/memory/keychain_memory.h"
#include "platform/memory/login_item_memory.h"
#include "platform/memory/notifications_memory.h"
#include "platform/memory/quit_sender_memory.h"
#include "platform/memory/screen_lock_memory.h"
#include "testing/virtual_scheduler.h"

namespace brindle {
namespace {

struct Loop {
  VirtualScheduler scheduler;
  template <class F>
  bool until(F done) {
    scheduler.run();
    return done();
  }
};

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

struct MemoryQuitBackend : Loop {
  MemoryQuitSender sender{scheduler};
  void personQuits() { sender.order({"", false, "a test"}); }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, QuitSenderContract, MemoryQuitBackend);

}  // namespace
}  // namespace brindle
