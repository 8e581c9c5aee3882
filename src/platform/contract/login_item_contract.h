#pragma once

#include <gtest/gtest.h>

#include "platform/login_item.h"

namespace brindle {

/// A backend offers: `item`, disabled at first, and `fail()`, after which changes fail.
template <class Backend>
class LoginItemContract : public testing::Test {
 protected:
  Backend backend;
};
TYPED_TEST_SUITE_P(LoginItemContract);

TYPED_TEST_P(LoginItemContract, WhatWasSetIsWhatIsRead) {
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
}

TYPED_TEST_P(LoginItemContract, AFailureIsExplainedToAPerson) {
  this->backend.fail();
  const auto done = this->backend.item.enable();
  ASSERT_FALSE(done);
  EXPECT_FALSE(done.error().empty());
  EXPECT_NE(this->backend.item.status(), LoginItem::Status::enabled);
}

REGISTER_TYPED_TEST_SUITE_P(LoginItemContract, WhatWasSetIsWhatIsRead,
                            AFailureIsExplainedToAPerson);

}  // namespace brindle
