#include "core/unlock_log.h"

#include <gtest/gtest.h>

#include "platform/memory/calendar_memory.h"
#include "platform/memory/files_memory.h"
#include "platform/memory/preferences_memory.h"
#include "testing/recording_log.h"
#include "testing/utc.h"
#include "testing/virtual_scheduler.h"
#include "testing/virtual_worker_queue.h"

namespace brindle {
namespace {

using Outcome = UnlockLogEntry::Outcome;

/// It is Monday, 2 March 2026, 09:00 UTC.
struct UnlockLogTest : testing::Test {
  VirtualScheduler time;
  VirtualWorkerQueue work{time};
  MemoryFiles files;
  MemoryPreferences preferences;
  MemoryCalendar calendar{time};
  RecordingLog lines;
  const std::string path = "/owner/Brindle/unlock-log.json";

  UnlockLog launch() {
    return {{files, work, preferences, calendar, time, [] { return "now"; }, Log(lines)}, path};
  }
  std::string stored() {
    time.run();
    const auto bytes = files.read(path);
    return bytes ? std::string(textOf(*bytes)) : "";
  }
};

TEST_F(UnlockLogTest, ALaterOutcomeReplacesTheFirstAndTheFileIsAsItAlwaysWas) {
  UnlockLog log = launch();
  log.load();
  const Uuid one{{0x6f}}, two{{0x0a}};
  log.record(one, time.wallTime(), Outcome::unconfirmed, 0);
  log.record(two, time.wallTime() - std::chrono::milliseconds(500), Outcome::wrongPIN, 3);
  log.record(one, time.wallTime(), Outcome::confirmed, 1);
  EXPECT_EQ(stored(), R"([{"id":"0A000000-0000-0000-0000-000000000000","at":794134799.5,)"
                      R"("outcome":"wrong-pin","wrongTries":3},)"
                      R"({"id":"6F000000-0000-0000-0000-000000000000","at":794134800,)"
                      R"("outcome":"confirmed","wrongTries":1}])");
  UnlockLog next = launch();
  next.load();
  EXPECT_EQ(next.entries(), log.entries());
}

TEST_F(UnlockLogTest, WhatIsOlderThanThirtyDaysOfTheCalendarGoes) {
  calendar.setZone(std::chrono::hours(1), {{utc(2026, 3, 20, 1, 0), std::chrono::hours(2)}});
  UnlockLog log = launch();
  const WallTime now = utc(2026, 4, 1, 7, 0);
  time.setWallTime(now);
  using std::chrono::hours;
  for (const auto& [age, kept] : {std::pair(hours(29 * 24), 1U),
                                  {hours(31 * 24), 0U},
                                  {hours(30 * 24 - 1), 1U},
                                  {hours(30 * 24), 0U}}) {
    log.record({{1}}, now - age, Outcome::confirmed, 0);
    EXPECT_EQ(log.entries().size(), kept) << age.count();
  }
  log.record({{2}}, now, Outcome::unconfirmed, 0);
  time.run();
  time.setWallTime(now + std::chrono::days(31));
  log.load();
  EXPECT_TRUE(log.entries().empty());
}

TEST_F(UnlockLogTest, ADamagedFileIsKeptAsideAndAFailedSaveKeepsTheList) {
  UnlockLog log = launch();
  log.record({{1}}, time.wallTime(), Outcome::confirmed, 0);
  std::string damaged = stored();
  damaged.replace(damaged.find("confirmed"), 9, "forgotten");
  ASSERT_TRUE(files.writeWhole(path, viewOf(damaged)));
  log.load();
  EXPECT_TRUE(log.entries().empty());
  files.failAll({FileError::Kind::noSpace, 28});
  log.record({{2}}, time.wallTime(), Outcome::confirmed, 0);
  EXPECT_EQ(log.entries().size(), 1U);
  time.run();
  files.failNothing();
  EXPECT_EQ(stored(), damaged);
  log.record({{3}}, time.wallTime(), Outcome::confirmed, 0);
  EXPECT_EQ(stored(), writeUnlockLog(log.entries()));
  EXPECT_EQ(log.entries().size(), 2U);
  const auto aside = files.read("/owner/Brindle/unlock-log.unreadable-now.json");
  ASSERT_TRUE(aside) << lines.all();
  EXPECT_EQ(textOf(*aside), damaged);
}

}  // namespace
}  // namespace brindle
