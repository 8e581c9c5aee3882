#pragma once

#include <string>
#include <vector>

#include "platform/contract/contract_test.h"
#include "platform/opened_files.h"

namespace brindle {

/// A backend offers: `files()`, `path(name)` of the files "file" and "other", `open(path)` by
/// another process while a stream observes both, and `hold(path)`, which leaves it open there and
/// gives the program.
template <class Backend>
using OpenedFilesContract = ContractTest<Backend>;
TYPED_TEST_SUITE_P(OpenedFilesContract);

TYPED_TEST_P(OpenedFilesContract, KnowsTheLastOpeningAndWhoHoldsAFile) {
  auto& test = this->backend;
  const std::vector<std::string> both{test.path("file"), test.path("other")};
  EXPECT_FALSE(test.files().lastUsed(both[0]));
  EXPECT_TRUE(test.files().openers(both).empty());
  test.open(both[0]);
  const auto first = test.files().lastUsed(both[0]);
  EXPECT_TRUE(first);
  EXPECT_FALSE(test.files().lastUsed(both[1]));
  const std::string program = test.hold(both[0]);
  EXPECT_EQ(test.files().openers(both), (std::map<std::string, std::string>{{both[0], program}}));
  EXPECT_GT(test.files().lastUsed(both[0]), first);
  EXPECT_TRUE(test.files().report().answered);
}

REGISTER_TYPED_TEST_SUITE_P(OpenedFilesContract, KnowsTheLastOpeningAndWhoHoldsAFile);

}  // namespace brindle
