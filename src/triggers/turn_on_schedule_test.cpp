#include "triggers/turn_on_schedule.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "platform/linux/calendar_linux.h"
#include "platform/linux/scheduler_linux.h"
#include "platform/memory/calendar_memory.h"
#include "platform/memory/preferences_memory.h"
#include "testing/recording_log.h"
#include "testing/utc.h"
#include "testing/virtual_scheduler.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

ScheduleTime daily(std::uint8_t id, int hour, int minute) {
  return {Uuid{{id}}, {1, 2, 3, 4, 5, 6, 7}, hour, minute, true};
}

/// Begins on Sunday, 1 March 2026, at 20:00 UTC.
struct TurnOnScheduleTest : testing::Test {
  VirtualScheduler time;
  MemoryPreferences preferences;
  MemoryCalendar calendar{time};
  RecordingLog lines;
  std::vector<Occurrence> fired;
  std::vector<std::string> told;
  std::unique_ptr<TurnOnSchedule> schedule;

  TurnOnScheduleTest() { time.setWallTime(utc(3, 1, 20)); }
  void launch(Calendar& zone) {
    schedule = std::make_unique<TurnOnSchedule>(preferences, zone, time, Log(lines));
    schedule->arm = [this](const Occurrence& due) { fired.push_back(due); };
    schedule->tellOwner = [this](const std::string& notice) { told.push_back(notice); };
    schedule->start();
  }
  void begin(std::vector<ScheduleTime> times) {
    launch(calendar);
    ASSERT_TRUE(schedule->setTimes(std::move(times)));
  }
};

TEST_F(TurnOnScheduleTest, AStartThatWasSleptThroughIsCaughtUpForTwelveHours) {
  const std::pair<Duration, int> cases[] = {{13h, 0},          {13h + 1s, 1}, {19h, 21600},
                                            {25h - 1s, 43199}, {25h, -1},     {26h, -1}};
  for (const auto& [sleep, ago] : cases) {
    time.setWallTime(utc(3, 1, 20));
    preferences = {};
    fired.clear();
    lines.clear();
    begin({daily(7, 9, 0)});
    time.sleepFor(sleep);
    ASSERT_EQ(fired.size(), ago < 0 ? 0U : 1U) << lines.all();
    if (ago < 0) continue;
    EXPECT_TRUE(lines.has("schedule: on for a start " + std::to_string(ago) + " s ago"));
    EXPECT_EQ(fired[0], (Occurrence{Uuid{{7}}, utc(3, 2, 9), utc(3, 2, 9),
                                    "07000000-0000-0000-0000-000000000000/2026-03-02"}));
  }
}

TEST_F(TurnOnScheduleTest, OnlyTheLatestOfThoseDueFiresAndTheFirstOfEqualOnes) {
  ScheduleTime off = daily(4, 9, 30), never = daily(5, 9, 30);
  off.isOn = false;
  never.weekdays.clear();
  begin({off, never});
  EXPECT_EQ(time.pending(), 0U);
  ASSERT_TRUE(schedule->setTimes({daily(1, 8, 0), daily(2, 9, 0), daily(3, 9, 0), off, never}));
  EXPECT_EQ(schedule->next(), utc(3, 2, 8));
  time.sleepFor(14h);
  ASSERT_EQ(fired.size(), 1U);
  EXPECT_EQ(fired[0].windowID, (Uuid{{2}}));
  time.advance(30h);
  EXPECT_EQ(fired.size(), 3U) << "each at its own time, of equal ones the first";
}

TEST_F(TurnOnScheduleTest, ATimeThatIsAddedDoesNotFireForAStartThatHadPassed) {
  begin({daily(1, 9, 0)});
  schedule.reset();
  time.sleepFor(19h);
  TurnOnSchedule command(preferences, calendar, time, Log(lines));
  command.load();
  ASSERT_TRUE(command.setTimes({daily(1, 9, 0), daily(2, 10, 0)}));
  launch(calendar);
  ASSERT_EQ(fired.size(), 1U) << "the old one is left to the guard";
  EXPECT_EQ(fired[0].windowID, (Uuid{{1}}));
  time.advance(2h);
  ASSERT_TRUE(schedule->setTimes({daily(3, 16, 0)}));
  preferences.setFailing(true);
  EXPECT_FALSE(schedule->setTimes({}));
  schedule->check();
  EXPECT_EQ(fired.size(), 1U);
  EXPECT_EQ(schedule->times(), std::vector{daily(3, 16, 0)});
}

TEST_F(TurnOnScheduleTest, WhereTheClockChangesAtMidnightEachDayKeepsItsStart) {
  // On the 3rd from 00:01 back to 23:01, on the 5th from 23:00 to midnight.
  calendar.setZone(0min, {{utc(3, 3, 0, 1), -60min}, {utc(3, 6, 0), 0min}});
  begin({daily(1, 0, 0)});
  time.advance(24h);
  time.sleepFor(4h + 31min);
  ASSERT_TRUE(schedule->setTimes({daily(2, 23, 30)}));
  time.advance(96h);
  std::string days;
  for (const Occurrence& each : fired) days += each.key.substr(each.key.size() - 2) + " ";
  EXPECT_EQ(days, "02 03 03 04 05 06 ");
}

TEST_F(TurnOnScheduleTest, NoStartFiresTwice) {
  begin({daily(1, 9, 0), daily(2, 8, 0)});
  preferences.setFailing(true);
  time.sleepFor(13h + 1min);
  for (int i = 0; i < 3; ++i) schedule->check();
  EXPECT_EQ(fired.size(), 1U) << "though the check is not stored";
  preferences.setFailing(false);
  schedule->check();
  time.setWallTime(utc(3, 2, 8, 30));
  calendar.setZone(-60min);
  launch(calendar);
  time.advance(3h);
  ASSERT_EQ(fired.size(), 2U) << "the clock and the zone were set back";
  EXPECT_EQ(fired[1].windowID, (Uuid{{2}})) << "which never had";
}

TEST_F(TurnOnScheduleTest, UnreadableRecordsCostThemselvesAndAreKept) {
  const std::string one = writeScheduleTimes({daily(1, 9, 0)});
  const PreferenceValue twice = "[{}," + one.substr(1, one.size() - 2) + "," + one.substr(1);
  ASSERT_TRUE(preferences.set("schedule.times", twice));
  TurnOnSchedule command(preferences, calendar, time, Log(lines));
  command.load();
  EXPECT_FALSE(command.complete());
  EXPECT_EQ(preferences.get("schedule.times"), twice) << "the guard is to tell the owner";
  for (int i = 0; i < 2; ++i) launch(calendar);
  EXPECT_EQ(schedule->times(), std::vector{daily(1, 9, 0)});
  ASSERT_TRUE(command.setTimes({}));
  EXPECT_EQ(preferences.get("schedule.times.unreadable"), twice);
  EXPECT_EQ(told.size(), 1U);
}

TEST_F(TurnOnScheduleTest, AYearInTwentyTwoZones) {
  const char* zones[] = {
      "Australia/Lord_Howe", "Asia/Kathmandu",   "America/Santiago",     "Asia/Beirut",
      "Africa/Casablanca",   "Pacific/Auckland", "Pacific/Chatham",      "America/Sao_Paulo",
      "America/Asuncion",    "America/Nuuk",     "America/Scoresbysund", "Africa/Cairo",
      "Europe/Berlin",       "Europe/London",    "America/New_York",     "America/Mexico_City",
      "America/St_Johns",    "America/Havana",   "Atlantic/Azores",      "Asia/Tehran",
      "Pacific/Kiritimati",  "Pacific/Apia"};
  const auto seed = std::random_device()();
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  LinuxScheduler loop;
  LinuxCalendar system(loop);
  for (const char* zone : zones) {
    setenv("TZ", zone, 1);
    preferences = {};
    fired.clear();
    // The year in which one of them skipped a day.
    time.setWallTime(utc(1, 1, 0, 0, zone == std::string_view("Pacific/Apia") ? 2011 : 2026));
    launch(system);
    ASSERT_TRUE(
        schedule->setTimes({daily(1, 0, 0), daily(2, 2, 30), daily(3, 9, 0), daily(4, 23, 30)}));
    std::set<std::string> keys;
    schedule->arm = [&](const Occurrence& due) {
      const WallTime now = time.wallTime();
      EXPECT_TRUE(keys.insert(due.key).second) << zone << " twice " << due.key;
      EXPECT_TRUE(due.start <= now && due.start > now - 12h) << zone << due.key;
      for (const ScheduleTime& each : schedule->times()) {
        const auto later = lastStart(each, system, due.start, now);
        EXPECT_TRUE(!later || keys.contains(scheduleKey(each, *later))) << zone << due.key;
      }
    };
    for (const WallTime end = time.wallTime() + std::chrono::days(365); time.wallTime() < end;) {
      time.advance(std::chrono::minutes(random() % 2000));
      time.sleepFor(std::chrono::minutes(random() % 4 == 0 ? random() % 1600 : 0));
      if (random() % 30 == 0) setenv("TZ", random() % 2 ? zone : zones[random() % 22], 1);
      schedule->check();
    }
    EXPECT_GT(keys.size(), 700U) << zone;
  }
  unsetenv("TZ");
}

}  // namespace
}  // namespace brindle
