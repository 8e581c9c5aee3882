#pragma once

#include "platform/contract/contract_test.h"
#include "platform/idle_time.h"

namespace brindle {

/// A backend offers: `idle`; `touch()`, a key as a person presses it; `leave()`, after which nobody
/// here tells any more; and `until(condition)`, which runs the main loop.
template <class Backend>
using IdleTimeContract = ContractTest<Backend>;
TYPED_TEST_SUITE_P(IdleTimeContract);

TYPED_TEST_P(IdleTimeContract, CountsFromTheLastTouchAsLongAsSomebodyTells) {
  auto& test = this->backend;
  using namespace std::chrono_literals;
  const auto read = [&test] {
    std::optional<std::optional<Duration>> told;
    test.idle.read([&told](std::optional<Duration> idle) { told = idle; });
    EXPECT_FALSE(told) << "told inline";
    EXPECT_TRUE(test.until([&told] { return told.has_value(); }));
    return told.value_or(std::nullopt);
  };
  int changes = 0;
  const auto subscription = test.idle.onAvailable([&changes] { ++changes; });
  ASSERT_TRUE(test.until([&test] { return test.idle.available(); }));
  EXPECT_TRUE(test.idle.report().answered) << test.idle.report().detail;
  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(test.until([&] { return read() >= 1500ms; }));
    test.touch();
    EXPECT_TRUE(test.until([&] { return read() < 1s; }));
  }
  changes = 0;
  test.leave();
  EXPECT_TRUE(test.until([&] { return changes == 1 && !test.idle.available(); }));
  EXPECT_EQ(read(), std::nullopt);
  EXPECT_FALSE(test.idle.report().answered);
}

REGISTER_TYPED_TEST_SUITE_P(IdleTimeContract, CountsFromTheLastTouchAsLongAsSomebodyTells);

}  // namespace brindle
