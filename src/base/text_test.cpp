#include <gtest/gtest.h>

#include "base/base64.h"
#include "base/iso8601.h"
#include "base/utf8.h"
#include "base/uuid.h"

namespace brindle {
namespace {

using std::chrono::microseconds;
using std::chrono::seconds;

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

TEST(Iso8601Test, ReadsInternetDateTimesWithoutFractions) {
  const std::pair<const char*, std::int64_t> rows[] = {
      {"1970-01-01T00:00:00Z", 0},
      {"2026-03-29T02:30:00Z", 1774751400},
      {"2026-03-29T02:30:00+02:00", 1774744200},
      {"2026-03-28T23:30:00-03:00", 1774751400},
      {"2024-02-29T23:59:60Z", 1709251200},  // a leap second
      {"1969-12-31T23:59:59Z", -1},
      {"9999-12-31T23:59:59Z", 253402300799},
  };
  for (const auto& [text, since1970] : rows) {
    EXPECT_EQ(parseIsoSeconds(text), WallTime(seconds(since1970))) << text;
  }
  // The first two lie outside the years that four digits can name.
  for (const char* wrong :
       {"9999-12-31T23:59:60Z", "0000-01-01T00:00:00+00:01", "2026-02-29T00:00:00Z",
        "2026-04-31T00:00:00Z", "2026-13-01T00:00:00Z", "2026-00-01T00:00:00Z",
        "2026-03-29T24:00:00Z", "2026-03-29T02:60:00Z", "2026-03-29T02:30:61Z",
        "2026-03-29 02:30:00Z", "2026-03-29T02:30:00.5Z", "2026-03-29T02:30:00",
        "2026-03-29T02:30:00z", "2026-03-29T02:30:00-0330", "2026-03-29T02:30:00+24:00",
        "2026-03-29T02:30:00+02:60", "2026-03-29T02:30:00Z ", "26-03-29T02:30:00Z", ""}) {
    EXPECT_FALSE(parseIsoSeconds(wrong)) << wrong;
  }
}

TEST(Iso8601Test, WritesWholeSecondsCutDownwards) {
  EXPECT_EQ(isoSeconds(WallTime(seconds(1774751400) + microseconds(999'999))),
            "2026-03-29T02:30:00Z");
  EXPECT_EQ(isoSeconds(WallTime(microseconds(-1))), "1969-12-31T23:59:59Z");
}

TEST(Base64Test, VectorsOfTheStandardAndWhatIsNotBase64) {
  constexpr std::array<std::pair<std::string_view, std::string_view>, 4> vectors{
      {{"", ""}, {"foo", "Zm9v"}, {"foob", "Zm9vYg=="}, {"foobar", "Zm9vYmFy"}}};
  for (const auto& [plain, coded] : vectors) {
    EXPECT_EQ(base64(viewOf(plain)), coded);
    EXPECT_EQ(fromBase64(coded), bytesOf(plain));
  }
  EXPECT_EQ(base64url(Bytes{0xfb, 0xff}), "-_8");
  for (const std::string_view bad :
       {"Zg=", "Zg", "Zh==", "Zg==Zg==", "Z===", "====", "Zm 9", "-_8="}) {
    EXPECT_FALSE(fromBase64(bad)) << bad;
  }
  for (const std::string_view good : {"", "Zg", "Zh", "Zm8", "Zm9v", "-_8", "-_-"}) {
    EXPECT_EQ(fromBase64url(good).value_or(Bytes(9)).size(), good.size() * 3 / 4) << good;
  }
  for (const std::string_view bad :
       {"Z", "Zm9vY", "Zg==", "Zg=", "+/8", "Zm 9", "Zm9\n", "Zm\xc3\xbc"}) {
    EXPECT_FALSE(fromBase64url(bad)) << bad;
  }
}

}  // namespace
}  // namespace brindle
