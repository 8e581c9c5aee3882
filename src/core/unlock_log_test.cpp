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
  const std::string folder = "/owner/Brindle/", path = folder + "unlock-log.json";
  UnlockLog log{{files, work, preferences, calendar, time, [] { return "now"; }, Log(lines)}, path};

  std::string stored(const std::string& where) {
    time.run();
    const auto bytes = files.read(where);
    return bytes ? std::string(textOf(*bytes)) : "";
  }
};

TEST_F(UnlockLogTest, ALaterOutcomeReplacesTheFirstAndADamagedFileIsKeptAside) {
  log.record({{1}}, time.wallTime(), Outcome::unconfirmed, 0);
  log.record({{2}}, time.wallTime() - std::chrono::milliseconds(500), Outcome::wrongPIN, 3);
  log.record({{1}}, time.wallTime(), Outcome::confirmed, 1);
  std::string text =
      R"([{"id":"02000000-0000-0000-0000-000000000000","at":794134799.5,"outcome":"wrong-pin",)"
      R"("wrongTries":3},{"id":"01000000-0000-0000-0000-000000000000","at":794134800,)"
      R"("outcome":"confirmed","wrongTries":1}])";
  EXPECT_EQ(stored(path), text);
  const auto before = log.entries();
  log.load();
  EXPECT_EQ(log.entries(), before);

  text.replace(text.find("wrong-pin"), 9, "forgotten");
  ASSERT_TRUE(files.writeWhole(path, viewOf(text)));
  log.load();
  EXPECT_TRUE(log.entries().empty());
  files.failAll({FileError::Kind::noSpace, 28});
  log.record({{2}}, time.wallTime(), Outcome::confirmed, 0);
  time.run();
  files.failNothing();
  EXPECT_EQ(stored(path), text);
  log.record({{3}}, time.wallTime(), Outcome::confirmed, 0);
  EXPECT_EQ(log.entries().size(), 2U);
  EXPECT_EQ(stored(path), writeUnlockLog(log.entries()));
  EXPECT_EQ(stored(folder + "unlock-log.unreadable-now.json"), text) << lines.all();
}

TEST_F(UnlockLogTest, WhatIsOlderThanThirtyDaysOfTheCalendarGoes) {
  using std::chrono::hours;
  calendar.setZone(hours(1), {{utc(3, 20, 1), hours(2)}});
  time.setWallTime(utc(4, 1, 7));
  for (const auto& [at, kept] :
       {std::pair(utc(3, 2, 8), 1U), {utc(3, 2, 7), 0U}, {utc(3, 3, 7), 1U}, {utc(3, 1, 7), 0U}}) {
    log.record({{1}}, at, Outcome::confirmed, 0);
    EXPECT_EQ(log.entries().size(), kept) << lines.all();
  }
  log.record({{2}}, time.wallTime(), Outcome::unconfirmed, 0);
  time.advance(hours(31 * 24));
  log.load();
  EXPECT_TRUE(log.entries().empty());
}

}  // namespace
}  // namespace brindle
