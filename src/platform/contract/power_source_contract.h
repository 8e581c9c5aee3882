#pragma once

#include "platform/contract/contract_test.h"
#include "platform/power_source.h"

namespace brindle {

/// A backend offers: `source()`, of a machine with a battery, its adapter in and its lid open;
/// `plug(bool)`, `closeLid(bool)`, and `until(condition)`, which runs the main loop.
template <class Backend>
using PowerSourceContract = ContractTest<Backend>;
TYPED_TEST_SUITE_P(PowerSourceContract);

TYPED_TEST_P(PowerSourceContract, ChangesComeFromTheLoopAndStopWithTheSubscription) {
  auto& machine = this->backend;
  PowerSource& source = machine.source();
  std::vector<PowerReading> told;
  auto subscription = source.onChange([&] { told.push_back(source.read()); });
  const auto becomes = [&](PowerReading reading) {
    return machine.until([&] { return source.read() == reading; });
  };
  ASSERT_TRUE(becomes({true, false})) << source.report().detail;
  EXPECT_TRUE(source.hasBattery() && source.tellsLid() && source.report().answered);
  told.clear();
  machine.plug(false);
  EXPECT_TRUE(told.empty()) << "delivered inline";
  ASSERT_TRUE(becomes({false, false}));
  machine.closeLid(true);
  ASSERT_TRUE(becomes({false, true}));
  ASSERT_TRUE(machine.until([&] { return !told.empty() && told.back() == source.read(); }));

  told.clear();
  subscription.end();
  machine.plug(true);
  machine.closeLid(false);
  source.refresh();
  ASSERT_TRUE(becomes({true, false}));
  EXPECT_TRUE(told.empty());
}

REGISTER_TYPED_TEST_SUITE_P(PowerSourceContract, ChangesComeFromTheLoopAndStopWithTheSubscription);

}  // namespace brindle
