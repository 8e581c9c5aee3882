#include <gtest/gtest.h>

#include <limits>

#include "base/json_fields.h"

namespace brindle {
namespace {

template <class T>
std::optional<T> readAs(std::string_view text) {
  const auto json = parseJson(text);
  T value{};
  if (!json || !readJson(*json, value)) return std::nullopt;
  return value;
}

TEST(JsonReadingTest, IntegersAreWholeAndInRange) {
  using Signed = std::int64_t;
  using Unsigned = std::uint64_t;
  EXPECT_EQ(readAs<Signed>("3.0"), 3);
  EXPECT_EQ(readAs<Signed>("-3e2"), -300);
  EXPECT_EQ(readAs<Signed>("9223372036854775807"), std::numeric_limits<Signed>::max());
  EXPECT_EQ(readAs<Unsigned>("18446744073709551615"), std::numeric_limits<Unsigned>::max());
  for (const char* wrong : {"1.5", "9223372036854775808", "1e19", "1e400", "\"3\"", "null", "true",
                            "[3]", "-9223372036854777856"}) {
    EXPECT_EQ(readAs<Signed>(wrong), std::nullopt) << wrong;
  }
  for (const char* wrong : {"-1", "18446744073709551616", "0.5"}) {
    EXPECT_EQ(readAs<Unsigned>(wrong), std::nullopt) << wrong;
  }
  EXPECT_EQ(readAs<double>("1e400"), std::nullopt);
  EXPECT_EQ(readAs<double>("7"), 7.0);
}

}  // namespace
}  // namespace brindle
