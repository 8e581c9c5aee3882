#include "platform/mac/last_used_attribute.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

namespace brindle {
namespace {

Bytes attribute(std::int64_t seconds, std::int64_t nanoseconds) {
  Bytes bytes(16);
  std::memcpy(bytes.data(), &seconds, 8);
  std::memcpy(bytes.data() + 8, &nanoseconds, 8);
  return bytes;
}

TEST(LastUsedAttributeTest, OnlySixteenBytesOfAnImaginableMomentAreADate) {
  using std::chrono::microseconds;
  constexpr auto most = std::numeric_limits<std::int64_t>::max();
  const auto date = [](const Bytes& bytes) { return lastUsedDate(bytes); };
  EXPECT_EQ(date(attribute(1'620'000'000, 250'000'999)),
            WallTime(microseconds(1'620'000'000'250'000)));
  EXPECT_EQ(date(attribute(-2, 500'000'000)), WallTime(microseconds(-1'500'000)));
  EXPECT_TRUE(date(attribute(1'000'000'000'000, most)));
  for (const auto seconds : {most, -most, std::int64_t{1'000'000'000'001}}) {
    EXPECT_FALSE(date(attribute(seconds, 0))) << seconds;
  }
  for (const std::size_t length : {0, 8, 15, 17}) {
    EXPECT_FALSE(date(Bytes(length))) << length;
  }
}

}  // namespace
}  // namespace brindle
