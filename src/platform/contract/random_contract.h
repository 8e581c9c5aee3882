#pragma once

#include <set>

#include "platform/contract/contract_test.h"
#include "platform/random.h"

namespace brindle {

template <class Backend>
using RandomContract = ContractTest<Backend>;
TYPED_TEST_SUITE_P(RandomContract);

TYPED_TEST_P(RandomContract, FillsAnySizeAndMakesDistinctVersion4IdentifiersAndEvenNumbers) {
  std::vector<std::uint8_t> large(100'000);
  ASSERT_TRUE(this->backend.fill(large));
  EXPECT_EQ(std::set<std::uint8_t>(large.begin(), large.end()).size(), 256u);
  EXPECT_TRUE(this->backend.fill({}));
  EXPECT_TRUE(this->backend.report().answered);
  std::set<Uuid> ids;
  double sum = 0;
  for (int i = 0; i < 1000; ++i) {
    const std::string text = ids.insert(this->backend.newUuid()).first->lower();
    EXPECT_EQ(text[14], '4');
    EXPECT_NE(std::string("89ab").find(text[19]), std::string::npos);
    const double value = this->backend.uniform(10, 20);
    ASSERT_TRUE(value >= 10 && value < 20);
    sum += value;
  }
  EXPECT_EQ(ids.size(), 1000u);
  EXPECT_NEAR(sum / 1000, 15, 1);  // ten standard errors
}

REGISTER_TYPED_TEST_SUITE_P(RandomContract,
                            FillsAnySizeAndMakesDistinctVersion4IdentifiersAndEvenNumbers);

}  // namespace brindle
