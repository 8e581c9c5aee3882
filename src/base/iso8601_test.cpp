#include "base/iso8601.h"

#include <gtest/gtest.h>

namespace brindle {
namespace {

using std::chrono::microseconds;
using std::chrono::seconds;

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
  for (const std::int64_t moment : {0LL, 951'782'400LL, 4'107'542'399LL, 253'402'300'799LL}) {
    EXPECT_EQ(parseIsoSeconds(isoSeconds(WallTime(seconds(moment)))), WallTime(seconds(moment)));
  }
}

}  // namespace
}  // namespace brindle
