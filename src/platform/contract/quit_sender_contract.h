#pragma once

#include <vector>

#include "platform/contract/contract_test.h"
#include "platform/quit_sender.h"

namespace brindle {

/// A backend offers: `sender`, `personQuits()`, and `until(condition)`.
template <class Backend>
using QuitSenderContract = ContractTest<Backend>;
TYPED_TEST_SUITE_P(QuitSenderContract);

TYPED_TEST_P(QuitSenderContract, APersonsOrderClaimsNothingAndEndsNothing) {
  std::vector<QuitOrder> orders;
  auto subscription = this->backend.sender.onQuitOrder(
      [&](QuitOrder order) { orders.push_back(std::move(order)); });
  this->backend.personQuits();
  EXPECT_TRUE(orders.empty()) << "delivered inline";
  ASSERT_TRUE(this->backend.until([&] { return orders.size() == 1; }));
  EXPECT_EQ(orders[0].reason, "");
  EXPECT_FALSE(orders[0].senderVerified);
  EXPECT_FALSE(orders[0].sender.empty());
  EXPECT_TRUE(this->backend.sender.report().answered);
}

REGISTER_TYPED_TEST_SUITE_P(QuitSenderContract, APersonsOrderClaimsNothingAndEndsNothing);

}  // namespace brindle
