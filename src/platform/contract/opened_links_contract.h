#pragma once

#include <string>
#include <vector>

#include "platform/contract/contract_test.h"
#include "platform/opened_links.h"

namespace brindle {

/// A backend offers: `links()`, `install(scheme)`, `open(link)` and `until(condition)`, which runs
/// the main loop.
template <class Backend>
using OpenedLinksContract = ContractTest<Backend>;
TYPED_TEST_SUITE_P(OpenedLinksContract);

TYPED_TEST_P(OpenedLinksContract, EveryListenerGetsTheWholeLinkFromTheLoopUntilItEnds) {
  auto& test = *this;
  EXPECT_FALSE(test.backend.links().registered("com.corvane.test"));
  test.backend.install("com.corvane.test");
  EXPECT_TRUE(test.backend.links().registered("com.corvane.test"));
  EXPECT_FALSE(test.backend.links().registered("mailto"));
  EXPECT_TRUE(test.backend.links().report().answered);
  std::vector<std::string> first, second;
  auto one = test.backend.links().onLink([&](const std::string& link) { first.push_back(link); });
  const auto two =
      test.backend.links().onLink([&](const std::string& link) { second.push_back(link); });
  const std::string link = "com.corvane.test:/back?code=a%20b&state=c#d";
  test.backend.open(link);
  EXPECT_TRUE(first.empty()) << "delivered inline";
  ASSERT_TRUE(test.backend.until([&] { return second.size() == 1; }));
  EXPECT_EQ(first, std::vector{link});
  test.backend.open(link);
  one.end();
  ASSERT_TRUE(test.backend.until([&] { return second.size() == 2; }));
  EXPECT_EQ(first.size(), 1U);
}

REGISTER_TYPED_TEST_SUITE_P(OpenedLinksContract,
                            EveryListenerGetsTheWholeLinkFromTheLoopUntilItEnds);

}  // namespace brindle
