#pragma once

#include "platform/contract/contract_test.h"
#include "platform/network_path.h"

namespace brindle {

/// A backend offers: `path()`, `comeBack()`, with which a way appears, and `until(condition)`,
/// which runs the main loop.
template <class Backend>
using NetworkPathContract = ContractTest<Backend>;
TYPED_TEST_SUITE_P(NetworkPathContract);

TYPED_TEST_P(NetworkPathContract, EveryListenerIsToldOnceFromTheLoopUntilItEnds) {
  auto& test = *this;
  int first = 0, second = 0;
  auto one = test.backend.path().onReturn([&] { ++first; });
  const auto two = test.backend.path().onReturn([&] { ++second; });
  EXPECT_TRUE(test.backend.path().report().answered) << test.backend.path().report().detail;
  test.backend.comeBack();
  EXPECT_EQ(first + second, 0) << "told inline";
  ASSERT_TRUE(test.backend.until([&] { return second > 0; }));
  EXPECT_EQ(first + second, 2);
  test.backend.comeBack();
  one.end();
  ASSERT_TRUE(test.backend.until([&] { return second == 2; }));
  EXPECT_EQ(first, 1);
}

REGISTER_TYPED_TEST_SUITE_P(NetworkPathContract, EveryListenerIsToldOnceFromTheLoopUntilItEnds);

}  // namespace brindle
