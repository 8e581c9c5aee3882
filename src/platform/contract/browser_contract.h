#pragma once

#include <string>
#include <vector>

#include "platform/browser.h"
#include "platform/contract/contract_test.h"

namespace brindle {

/// A backend offers: `browser()`, `shown()`, the last page that was to be shown, `breakDown()`,
/// after which none shows, and `until(condition)`, which runs the main loop.
template <class Backend>
using BrowserContract = ContractTest<Backend>;
TYPED_TEST_SUITE_P(BrowserContract);

TYPED_TEST_P(BrowserContract, ShowsThePageAsItIsAndTellsOnceFromTheLoopWhenItCannot) {
  auto& test = *this;
  std::vector<std::string> problems;
  const auto failed = [&](const std::string& problem) { problems.push_back(problem); };
  const std::string page = "https://page.test/?a=b%20c&d=$(e)#f";
  const auto shown = test.backend.browser().open(page, failed);
  ASSERT_TRUE(test.backend.until([&] { return test.backend.shown() == page; }));
  EXPECT_TRUE(test.backend.browser().report().answered);
  test.backend.breakDown();
  auto givenUp = test.backend.browser().open(page, failed);
  givenUp.end();
  const auto waiting = test.backend.browser().open(page, failed);
  EXPECT_TRUE(problems.empty()) << "told inline";
  ASSERT_TRUE(test.backend.until([&] { return !problems.empty(); }));
  test.backend.until([] { return true; });
  EXPECT_EQ(problems.size(), 1U);
  EXPECT_FALSE(problems[0].empty()) << "nobody declined";
}

REGISTER_TYPED_TEST_SUITE_P(BrowserContract, ShowsThePageAsItIsAndTellsOnceFromTheLoopWhenItCannot);

}  // namespace brindle
