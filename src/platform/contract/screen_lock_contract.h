#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "platform/screen_lock.h"

namespace brindle {

/// A backend offers: `lock` (a ScreenLock), `lockScreen()`, `unlockScreen()`, `leave()` and
/// `comeBack()` for its source of unlocks, and `until(condition)`, which runs the main loop.
template <class Backend>
class ScreenLockContract : public testing::Test {
 protected:
  Subscription record(NoticeCenter& center, SystemNotice notice) {
    return center.observe(notice, [this, notice] { seen.push_back(notice); });
  }
  bool sees(std::size_t count) {
    return backend.until([&] { return seen.size() >= count; });
  }

  Backend backend;
  std::vector<SystemNotice> seen;
};
TYPED_TEST_SUITE_P(ScreenLockContract);

TYPED_TEST_P(ScreenLockContract, EachChangeIsToldOnceFromTheLoopByTheLockersCenter) {
  auto& lock = this->backend.lock;
  ASSERT_TRUE(this->backend.until([&] { return lock.reachable(); })) << lock.report().detail;
  EXPECT_TRUE(lock.report().answered);
  const auto locked = this->record(lock.distributed(), SystemNotice::screenLocked);
  const auto unlocked = this->record(lock.distributed(), SystemNotice::screenUnlocked);
  const auto stray = this->record(lock.workspace(), SystemNotice::screenUnlocked);
  this->backend.lockScreen();
  EXPECT_TRUE(this->seen.empty()) << "delivered inline";
  ASSERT_TRUE(this->sees(1));
  EXPECT_TRUE(lock.screenLocked());
  this->backend.unlockScreen();
  ASSERT_TRUE(this->sees(2));
  EXPECT_FALSE(lock.screenLocked());
  EXPECT_EQ(this->seen, (std::vector{SystemNotice::screenLocked, SystemNotice::screenUnlocked}));
}

TYPED_TEST_P(ScreenLockContract, ASourceThatLeavesIsSaidAndItsReturnToo) {
  auto& lock = this->backend.lock;
  ASSERT_TRUE(this->backend.until([&] { return lock.reachable(); }));
  std::vector<bool> told;
  const auto subscription = lock.onReachable([&](bool reachable) { told.push_back(reachable); });
  this->backend.leave();
  ASSERT_TRUE(this->backend.until([&] { return told.size() == 1; }));
  EXPECT_FALSE(lock.reachable());
  EXPECT_FALSE(lock.report().answered);
  this->backend.comeBack();
  ASSERT_TRUE(this->backend.until([&] { return told.size() == 2; }));
  EXPECT_EQ(told, (std::vector{false, true}));
  EXPECT_TRUE(lock.reachable());
}

REGISTER_TYPED_TEST_SUITE_P(ScreenLockContract, EachChangeIsToldOnceFromTheLoopByTheLockersCenter,
                            ASourceThatLeavesIsSaidAndItsReturnToo);

}  // namespace brindle
