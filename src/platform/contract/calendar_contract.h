#pragma once

#include "platform/calendar.h"
#include "platform/contract/contract_test.h"
#include "testing/utc.h"

namespace brindle {

/// A backend offers: `calendar`, `enter(zone, before, change, after)`, which makes that the
/// session's zone, known by its name or by its offsets in minutes before and after a change;
/// `tell()`, which sets the clock or the zone; and `until(condition)`, which runs the main loop.
template <class Backend>
using CalendarContract = ContractTest<Backend>;
TYPED_TEST_SUITE_P(CalendarContract);

TYPED_TEST_P(CalendarContract, SkippedTimesComeNextAndRepeatedOnesFirst) {
  using namespace std::chrono;
  const Calendar& calendar = this->backend.calendar;
  const struct {
    const char* zone;
    int before;
    WallTime change;
    int after;
    WallTime shown;  // by the clock on the wall
    std::optional<WallTime> at;
  } cases[] = {
      {"Europe/Berlin", 60, utc(3, 29, 1), 120, utc(3, 29, 2, 30), utc(3, 29, 1)},
      {"Europe/Berlin", 120, utc(10, 25, 1), 60, utc(10, 25, 2, 30), utc(10, 25, 0, 30)},
      {"America/Santiago", -240, utc(9, 6, 4), -180, utc(9, 6, 0), utc(9, 6, 4)},
      {"Australia/Lord_Howe", 660, utc(4, 4, 15), 630, utc(4, 5, 1, 45), utc(4, 4, 14, 45)},
      {"America/Nuuk", -120, utc(3, 29, 1), -60, utc(3, 28, 23, 30), utc(3, 29, 1)},
      {"Pacific/Apia", -600, utc(12, 30, 10, 0, 2011), 840, utc(12, 30, 9, 0, 2011), {}}};
  for (const auto& each : cases) {
    this->backend.enter(each.zone, each.before, each.change, each.after);
    const auto day = floor<days>(each.shown);
    const auto hour = static_cast<int>(floor<hours>(each.shown - day).count());
    const auto minute = static_cast<int>(floor<minutes>(each.shown - day).count()) % 60;
    EXPECT_EQ(calendar.at(day, hour, minute), each.at) << each.zone;
    const auto later = calendar.at(day + days(2), hour, minute);
    EXPECT_EQ(calendar.addingDays(later.value(), -2), each.at) << each.zone;
  }
  EXPECT_EQ(calendar.local(utc(12, 30, 10, 1, 2011)), (LocalTime{2011y / 12 / 31, 7, 0, 1, 0}));
  EXPECT_EQ(calendar.at(2026y / 2 / 29, 9, 0), std::nullopt);
  EXPECT_EQ(calendar.at(2026y / 2 / 28, 24, 0), std::nullopt);
}

TYPED_TEST_P(CalendarContract, ChangesComeFromTheLoopUntilTheSubscriptionEnds) {
  auto& test = *this;
  int first = 0, second = 0;
  auto one = test.backend.calendar.onChange([&] { ++first; });
  const auto two = test.backend.calendar.onChange([&] { ++second; });
  EXPECT_TRUE(test.backend.calendar.report().answered);
  test.backend.tell();
  EXPECT_EQ(first + second, 0) << "told inline";
  ASSERT_TRUE(test.backend.until([&] { return first > 0 && second > 0; }));
  one.end();
  const int seen = first, before = second;
  test.backend.tell();
  ASSERT_TRUE(test.backend.until([&] { return second > before; }));
  EXPECT_EQ(first, seen);
}

REGISTER_TYPED_TEST_SUITE_P(CalendarContract, SkippedTimesComeNextAndRepeatedOnesFirst,
                            ChangesComeFromTheLoopUntilTheSubscriptionEnds);

}  // namespace brindle
