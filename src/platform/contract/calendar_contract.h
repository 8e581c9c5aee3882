#pragma once

#include <utility>
#include <vector>

#include "platform/calendar.h"
#include "platform/contract/contract_test.h"
#include "testing/utc.h"

namespace brindle {

/// A time zone by its name, and as its offset in minutes until the first change and after each.
struct ContractZone {
  const char* name;
  int before;
  std::vector<std::pair<WallTime, int>> changes;
};

/// A backend offers: `calendar`, `enter(zone)`, which makes that the session's zone, `tell()`,
/// which sets the clock or the zone, and `until(condition)`, which runs the main loop.
template <class Backend>
class CalendarContract : public ContractTest<Backend> {
 protected:
  const ContractZone berlin{
      "Europe/Berlin", 60, {{utc(2026, 3, 29, 1, 0), 120}, {utc(2026, 10, 25, 1, 0), 60}}};
  const ContractZone santiago{
      "America/Santiago", -180, {{utc(2026, 4, 5, 3, 0), -240}, {utc(2026, 9, 6, 4, 0), -180}}};
  const ContractZone howe{
      "Australia/Lord_Howe", 660, {{utc(2026, 4, 4, 15, 0), 630}, {utc(2026, 10, 3, 15, 30), 660}}};
  const ContractZone nuuk{"America/Nuuk", -120, {{utc(2026, 3, 29, 1, 0), -60}}};
  const ContractZone apia{"Pacific/Apia", -600, {{utc(2011, 12, 30, 10, 0), 840}}};
};
TYPED_TEST_SUITE_P(CalendarContract);

TYPED_TEST_P(CalendarContract, SkippedTimesComeNextAndRepeatedOnesFirst) {
  const struct {
    const ContractZone& zone;
    WallTime shown;  // by the clock on the wall
    std::optional<WallTime> at;
  } cases[] = {
      {this->berlin, utc(2026, 3, 29, 2, 30), utc(2026, 3, 29, 1, 0)},
      {this->berlin, utc(2026, 10, 25, 2, 30), utc(2026, 10, 25, 0, 30)},
      {this->santiago, utc(2026, 9, 6, 0, 0), utc(2026, 9, 6, 4, 0)},  // no midnight
      {this->santiago, utc(2026, 4, 4, 23, 30), utc(2026, 4, 5, 2, 30)},
      {this->howe, utc(2026, 10, 4, 2, 15), utc(2026, 10, 3, 15, 30)},  // half an hour
      {this->howe, utc(2026, 4, 5, 1, 45), utc(2026, 4, 4, 14, 45)},
      {this->nuuk, utc(2026, 3, 28, 23, 30), utc(2026, 3, 29, 1, 0)},  // up to midnight
      {this->apia, utc(2011, 12, 30, 9, 0), std::nullopt},             // no such Friday
      {this->apia, utc(2011, 12, 31, 0, 0), utc(2011, 12, 30, 10, 0)},
  };
  for (const auto& each : cases) {
    this->backend.enter(each.zone);
    const auto day = std::chrono::floor<std::chrono::days>(each.shown);
    const std::chrono::hh_mm_ss time(each.shown - day);
    const int hour = static_cast<int>(time.hours().count());
    const int minute = static_cast<int>(time.minutes().count());
    const Calendar& calendar = this->backend.calendar;
    EXPECT_EQ(calendar.at(day, hour, minute), each.at) << each.zone.name << hour << ':' << minute;
    EXPECT_EQ(calendar.addingDays(*calendar.at(day + std::chrono::days(2), hour, minute), -2),
              each.at);
  }
}

TYPED_TEST_P(CalendarContract, AClockShowsLocalTimeAndKnowsWhatIsNone) {
  using namespace std::chrono;
  this->backend.enter(this->berlin);
  const Calendar& calendar = this->backend.calendar;
  EXPECT_EQ(calendar.local(utc(2026, 3, 29, 1, 0) + seconds(7)),
            (LocalTime{2026y / 3 / 29, 1, 3, 0, 7}));
  EXPECT_EQ(calendar.local(utc(2026, 2, 28, 23, 0)).weekday, 1);
  EXPECT_EQ(calendar.at(2026y / 2 / 29, 9, 0), std::nullopt);
  EXPECT_EQ(calendar.at(2026y / 2 / 28, 24, 0), std::nullopt);
}

TYPED_TEST_P(CalendarContract, ChangesComeFromTheLoopUntilTheSubscriptionEnds) {
  auto& test = *this;
  int first = 0, second = 0;
  auto one = test.backend.calendar.onChange([&] { ++first; });
  const auto two = test.backend.calendar.onChange([&] { ++second; });
  EXPECT_TRUE(test.backend.calendar.report().answered) << test.backend.calendar.report().detail;
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
                            AClockShowsLocalTimeAndKnowsWhatIsNone,
                            ChangesComeFromTheLoopUntilTheSubscriptionEnds);

}  // namespace brindle
