#pragma once

#include "platform/contract/contract_test.h"
#include "platform/login_item.h"

namespace brindle {

/// A backend offers: `item`, disabled at first, and `fail()`, after which changes fail.
template <class Backend>
using LoginItemContract = ContractTest<Backend>;
TYPED_TEST_SUITE_P(LoginItemContract);

TYPED_TEST_P(LoginItemContract, WhatWasSetIsReadAndAFailureIsExplainedToAPerson) {
  auto& item = this->backend.item;
  EXPECT_EQ(item.status(), LoginItem::Status::disabled);
  for (int turn = 0; turn < 2; ++turn) {
    EXPECT_TRUE(item.enable());
    EXPECT_EQ(item.status(), LoginItem::Status::enabled);
  }
  EXPECT_TRUE(item.report().answered);
  for (int turn = 0; turn < 2; ++turn) {
    EXPECT_TRUE(item.disable());
    EXPECT_EQ(item.status(), LoginItem::Status::disabled);
  }
  this->backend.fail();
  const auto done = item.enable();
  ASSERT_FALSE(done);
  EXPECT_FALSE(done.error().empty());
  EXPECT_NE(item.status(), LoginItem::Status::enabled);
}

REGISTER_TYPED_TEST_SUITE_P(LoginItemContract, WhatWasSetIsReadAndAFailureIsExplainedToAPerson);

}  // namespace brindle
