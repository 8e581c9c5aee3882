#pragma once

#include <vector>

#include "platform/apple_sign_in.h"
#include "platform/contract/contract_test.h"

namespace brindle {

/// A backend offers: `appleSignIn()`, `fail()`, with which what was begun fails if it has not by
/// itself, and `until(condition)`, which runs the main loop.
template <class Backend>
using AppleSignInContract = ContractTest<Backend>;
TYPED_TEST_SUITE_P(AppleSignInContract);

TYPED_TEST_P(AppleSignInContract, ItsEndIsToldOnceFromTheLoopUnlessItWasGivenUp) {
  auto& test = *this;
  std::vector<AppleSignInEnd> ends;
  const auto done = [&](AppleSignInEnd end) { ends.push_back(std::move(end)); };
  auto givenUp = test.backend.appleSignIn().begin("hash", done);
  test.backend.fail();
  givenUp.end();
  const auto waiting = test.backend.appleSignIn().begin("hash", done);
  test.backend.fail();
  EXPECT_TRUE(ends.empty()) << "told inline";
  ASSERT_TRUE(test.backend.until([&] { return !ends.empty(); }));
  test.backend.until([] { return true; });
  EXPECT_EQ(ends.size(), 1U);
  EXPECT_EQ(ends[0].how, AppleSignInEnd::How::failed);
  EXPECT_FALSE(ends[0].problem.empty());
}

REGISTER_TYPED_TEST_SUITE_P(AppleSignInContract, ItsEndIsToldOnceFromTheLoopUnlessItWasGivenUp);

}  // namespace brindle
