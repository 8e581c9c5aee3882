#pragma once

#include "platform/contract/contract_test.h"
#include "platform/power_assertion.h"

namespace brindle {

/// A backend offers: `assertions()`, `held(kind)`, as the machine tells it, and
/// `until(condition)`, which runs the main loop.
template <class Backend>
using PowerAssertionContract = ContractTest<Backend>;
TYPED_TEST_SUITE_P(PowerAssertionContract);

TYPED_TEST_P(PowerAssertionContract, EachHoldLastsUntilItEndsAlsoOneThatEndsBeforeItIsGranted) {
  using Kind = PowerAssertions::Kind;
  auto& machine = this->backend;
  PowerAssertions& assertions = machine.assertions();
  const auto one = Kind::preventUserIdleSystemSleep, other = Kind::handleLidSwitch;
  ASSERT_TRUE(machine.until([&] { return assertions.offers(one) && assertions.offers(other); }));
  EXPECT_TRUE(assertions.report().answered) << assertions.report().detail;
  for (const auto& [kind, notAsked] : {std::pair(one, other), std::pair(other, one)}) {
    assertions.hold(kind, "Brindle is on").end();
    auto first = assertions.hold(kind, "Brindle is on");
    auto second = assertions.hold(kind, "Brindle is on");
    ASSERT_TRUE(machine.until([&, &kind = kind] { return machine.held(kind) == 2; }));
    EXPECT_EQ(machine.held(notAsked), 0);
    first.end();
    ASSERT_TRUE(machine.until([&, &kind = kind] { return machine.held(kind) == 1; }));
    second.end();
    ASSERT_TRUE(machine.until([&, &kind = kind] { return machine.held(kind) == 0; }));
  }
}

REGISTER_TYPED_TEST_SUITE_P(PowerAssertionContract,
                            EachHoldLastsUntilItEndsAlsoOneThatEndsBeforeItIsGranted);

}  // namespace brindle
