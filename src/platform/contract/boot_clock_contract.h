#pragma once

#include "platform/boot_clock.h"
#include "platform/contract/contract_test.h"
#include "platform/scheduler.h"

namespace brindle {

/// A backend offers `clock` and `scheduler`.
template <class Backend>
using BootClockContract = ContractTest<Backend>;
TYPED_TEST_SUITE_P(BootClockContract);

TYPED_TEST_P(BootClockContract, CountsFromTheBootAndNamesIt) {
  const BootClock& clock = this->backend.clock;
  const Duration first = clock.uptime();
  const Duration second = clock.uptime();
  EXPECT_GT(first, Duration::zero());
  EXPECT_GE(second, first);
  const auto error = clock.bootTime() + clock.uptime() - this->backend.scheduler.wallTime();
  EXPECT_LT(std::chrono::abs(error), std::chrono::seconds(5));
  EXPECT_FALSE(clock.bootId().empty());
  EXPECT_EQ(clock.bootId(), clock.bootId());
  EXPECT_TRUE(clock.report().answered);
}

REGISTER_TYPED_TEST_SUITE_P(BootClockContract, CountsFromTheBootAndNamesIt);

}  // namespace brindle
