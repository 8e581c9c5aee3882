#pragma once

#include <optional>

#include "platform/contract/contract_test.h"
#include "platform/system_power.h"

namespace brindle {

/// A backend offers: `power()`, `sleep()`, after which the machine goes to sleep as soon as it is
/// let, `wake()` for machines that do not wake by themselves, `asleepOrAwakeAgain()`,
/// `waitsForUs()`, and `until(condition)`, which runs the main loop.
template <class Backend>
class SystemPowerContract : public ContractTest<Backend> {
 protected:
  [[nodiscard]] Subscription listen() {
    return this->backend.power().listen({[this](SleepPermission given) {
                                           ++announced;
                                           permission = std::move(given);
                                         },
                                         [this] { ++woken; }});
  }
  bool until(const std::function<bool()>& done) { return this->backend.until(done); }
  bool waitedFor() {
    return until([this] { return this->backend.power().longestHold() > Duration::zero(); }) &&
           until([this] { return this->backend.waitsForUs(); });
  }

  std::optional<SleepPermission> permission;
  int announced = 0;
  int woken = 0;
};
TYPED_TEST_SUITE_P(SystemPowerContract);

TYPED_TEST_P(SystemPowerContract, SleepIsAnnouncedFromTheLoopAndWaitsUntilItIsAllowed) {
  auto& test = *this;
  const auto subscription = test.listen();
  ASSERT_TRUE(test.waitedFor()) << test.backend.power().report().detail;
  EXPECT_TRUE(test.backend.power().report().answered);
  for (int night = 1; night <= 2; ++night) {
    test.backend.sleep();
    EXPECT_EQ(test.announced, night - 1) << "delivered inline";
    ASSERT_TRUE(test.until([&] { return test.announced == night; }));
    EXPECT_TRUE(test.permission->held());
    EXPECT_FALSE(test.backend.asleepOrAwakeAgain());
    test.permission->allow();
    ASSERT_TRUE(test.until([&] { return test.backend.asleepOrAwakeAgain(); }));
    test.backend.wake();
    ASSERT_TRUE(test.until([&] { return test.woken == night; }));
    ASSERT_TRUE(test.waitedFor()) << "not for the next sleep";
  }
}

TYPED_TEST_P(SystemPowerContract, NobodyIsWaitedForWhoDoesNotListen) {
  auto& test = *this;
  auto subscription = test.listen();
  ASSERT_TRUE(test.waitedFor());
  subscription.end();
  ASSERT_TRUE(test.until([&] { return !test.backend.waitsForUs(); }));
  test.backend.sleep();
  ASSERT_TRUE(test.until([&] { return test.backend.asleepOrAwakeAgain(); }));
  EXPECT_EQ(test.announced, 0);
}

REGISTER_TYPED_TEST_SUITE_P(SystemPowerContract,
                            SleepIsAnnouncedFromTheLoopAndWaitsUntilItIsAllowed,
                            NobodyIsWaitedForWhoDoesNotListen);

}  // namespace brindle
