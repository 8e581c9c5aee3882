#pragma once

#include <algorithm>
#include <string>

#include "platform/contract/contract_test.h"
#include "platform/machine.h"
#include "platform/process_activity.h"

namespace brindle {

/// A backend offers: `machine()` and `activity()`.
template <class Backend>
using MachineContract = ContractTest<Backend>;
TYPED_TEST_SUITE_P(MachineContract);

TYPED_TEST_P(MachineContract, HasANameAModelAndATimeZoneAndTakesActivities) {
  EXPECT_FALSE(this->backend.machine().name().empty());
  EXPECT_FALSE(this->backend.machine().timeZone().empty());
  const std::string model = this->backend.machine().model();
  EXPECT_FALSE(model.empty());
  EXPECT_TRUE(std::ranges::all_of(model, [](char c) { return c >= ' '; })) << model;
  EXPECT_TRUE(this->backend.machine().report().answered);
  auto first = this->backend.activity().begin("a test");
  const auto second = this->backend.activity().begin("a test");
  EXPECT_TRUE(first && second);
  first.end();
  EXPECT_TRUE(this->backend.activity().report().answered);
}

REGISTER_TYPED_TEST_SUITE_P(MachineContract, HasANameAModelAndATimeZoneAndTakesActivities);

}  // namespace brindle
