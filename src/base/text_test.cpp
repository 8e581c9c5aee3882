#include <gtest/gtest.h>

#include "base/utf8.h"
#include "base/uuid.h"

namespace brindle {
namespace {

TEST(UuidTest, ReadsTheCanonicalFormInEitherCaseOnly) {
  const auto id = Uuid::parse("0b0a7c1e-5c1f-4f0e-9d7b-3f6f0c2d9a11");
  ASSERT_TRUE(id);
  EXPECT_EQ(id->lower(), "0b0a7c1e-5c1f-4f0e-9d7b-3f6f0c2d9a11");
  EXPECT_EQ(Uuid::parse(id->upper()), id);
  for (const char* wrong :
       {"", "0b0a7c1e5c1f4f0e9d7b3f6f0c2d9a11", "{0b0a7c1e-5c1f-4f0e-9d7b-3f6f0c2d9a1}",
        "0b0a7c1e-5c1f-4f0e-9d7b-3f6f0c2d9a1g", "0b0a7c1e-5c1f-4f0e-9d7b-3f6f0c2d9a111",
        "0b0a7c1e-5c1f-4f0e-9d7b--f6f0c2d9a11", "0b0a7c1e-5c1f-4f0e-9d7b/3f6f0c2d9a11"}) {
    EXPECT_FALSE(Uuid::parse(wrong)) << wrong;
  }
}

TEST(UuidTest, MakesVersion4) {
  std::array<std::uint8_t, 16> random;
  random.fill(0xff);
  EXPECT_EQ(Uuid::fromRandom(random).upper(), "FFFFFFFF-FFFF-4FFF-BFFF-FFFFFFFFFFFF");
  random.fill(0);
  EXPECT_EQ(Uuid::fromRandom(random).upper(), "00000000-0000-4000-8000-000000000000");
}

// RFC 3629: the first and last of each length, and what it forbids.
TEST(Utf8Test, RepairsOnlyWhatIsIllFormed) {
  for (const char* good :
       {"", "plain", "\x7f", "\xc2\x80", "\xdf\xbf", "\xe0\xa0\x80", "\xed\x9f\xbf", "\xee\x80\x80",
        "\xf0\x90\x80\x80", "\xf4\x8f\xbf\xbf", "Žluťoučký \xf0\x9f\x90\x8e"}) {
    EXPECT_TRUE(isUtf8(good)) << good;
    EXPECT_EQ(repairedUtf8(good), good);
  }
  const std::pair<std::string, std::string> damaged[] = {
      {"\x80", "\ufffd"},
      {"a\xc0\x80z", "a\ufffdz"},      // overlong
      {"\xe0\x9f\xbf", "\ufffd"},      // overlong
      {"\xed\xa0\x80", "\ufffd"},      // surrogate
      {"\xf4\x90\x80\x80", "\ufffd"},  // above U+10FFFF
      {"\xf5\x80\x80\x80!", "\ufffd!"},
      {"ž\xc5", "ž\ufffd"},  // cut off
      {"\xe2\x82z\xff", "\ufffdz\ufffd"},
  };
  for (const auto& [bytes, repaired] : damaged) {
    EXPECT_FALSE(isUtf8(bytes)) << repaired;
    EXPECT_EQ(repairedUtf8(bytes), repaired);
  }
}

}  // namespace
}  // namespace brindle
