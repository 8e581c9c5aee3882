#include <gmock/gmock.h>

#include "service/alert_watch_json.h"
#include "testing/watch_world.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::string_view idText = "6F1A0A4E-0001-4000-8000-0000000000AA";
constexpr std::string_view everyKey =
    R"({"id":"6F1A0A4E-0001-4000-8000-0000000000AA","route":"pending-photo",)"
    R"("eventID":"6F1A0A4E-0001-4000-8000-0000000000AA","body":"aGk=","file":"watch-1.jpg",)"
    R"("createdAt":794134800.5,"attempts":3,"sentAt":794134801,"notBefore":794134803,)"
    R"("abandoned":true,"cancelAsked":true,"repeatAfter":10,)"
    R"("resetId":"6F1A0A4E-0001-4000-8000-0000000000AA","copied":true,)"
    R"("aheadOfItsPending":true,"account":"owner@example.org","seq":7})";

std::string outboxOf(std::string_view ops) { return R"({"ops":[)" + std::string(ops) + "]}"; }

TEST(AlertWatchRecordsTest, AnOperationIsStoredWithEveryKeyInItsPlace) {
  const auto read = readOps(outboxOf(everyKey));
  ASSERT_THAT(read.list, SizeIs(1));
  EXPECT_EQ(writeOp(read.list[0]), everyKey);
  EXPECT_EQ(read.list[0].createdAt.time_since_epoch(), 1'772'442'000'500ms);
}

TEST(AlertWatchRecordsTest, WhatCannotBeReadIsSkippedAndCounted) {
  const std::string least = R"({"id":")" + std::string(idText) + R"(","route":)";
  const std::vector<std::pair<std::string, bool>> cases = {
      {R"("beat","body":"aGk=","createdAt":"2026-03-02T09:00:00Z"})", true},
      {R"("beat","file":"../up","createdAt":1})", false},
      {R"("pending","body":"aGk=","createdAt":1})", false}};
  for (const auto& [rest, readable] : cases) {
    const auto read = readOps(outboxOf(least + rest + ",7"));
    EXPECT_EQ(read.list.size(), readable ? 1u : 0u) << rest;
    EXPECT_EQ(read.skipped, readable ? 1u : 2u) << rest;
  }
  EXPECT_EQ(readOps(R"({"ops":{}})").skipped, 1u);
  const auto events = readWatched(R"({"no id":{"at":1},")" + std::string(idText) +
                                  R"(":{"at":1,"photo":true,"resolved":7}})");
  EXPECT_EQ(events.skipped, 1u);
  ASSERT_THAT(events.list, SizeIs(1));
  EXPECT_TRUE(events.list[0].second.photo);
}

class AlertWatchStoringTest : public testing::Test, protected WatchWorld {};

TEST_F(AlertWatchStoringTest, WhatCannotBeStoredGoesOutAllTheSameAndIsStoredLater) {
  service.always("api/watch/", {.status = 503});
  launch();
  preferences.setFailing(true);
  unlock();
  scheduler.advance(20s);
  EXPECT_EQ(lines.count("outbox: not stored, 1 queued"), 1u) << "said once";
  preferences.setFailing(false);
  scheduler.advance(30s);
  kill();
  service.usual("api/watch/");
  service.forgetRequests();
  launch();
  EXPECT_THAT(routes(), ElementsAre("pending"));
}

TEST_F(AlertWatchStoringTest, ADamagedOutboxIsKeptAsideAndItsBodiesAreMatched) {
  const std::string cancel = R"({"id":")" + std::string(idText) +
                             R"(","route":"cancel","eventID":")" + std::string(idText) +
                             R"(","file":"watch-2.json","createdAt":1})";
  std::string photo(everyKey);
  photo.replace(photo.find("aGk="), 4, "");
  const std::string stored = outboxOf(photo + R"(,7,{"id":"6F1A0A4E-0001-4000-8000-0000000000BB")" +
                                      cancel.substr(cancel.find(",\"route")));
  ASSERT_TRUE(preferences.set("watch.outbox", stored));
  ASSERT_TRUE(files.makeFolder("/data/outbox"));
  ASSERT_TRUE(files.writeWhole("/data/outbox/watch-left.json", {}));
  ASSERT_TRUE(files.writeWhole("/data/outbox/another", {}));
  launch();
  EXPECT_TRUE(lines.has("outbox: 1 operations could not be read, kept aside"));
  EXPECT_EQ(preferences.text("watch.outbox-unreadable"), stored);
  EXPECT_TRUE(lines.has("outbox: 1 bodies are gone, not sent"));
  EXPECT_THAT(routes(), ElementsAre("cancel")) << "only its event is in it";
  EXPECT_THAT(outboxFiles(), ElementsAre("another"));
}

TEST_F(AlertWatchStoringTest, TheOutboxOfAnEarlierBuildMovesOnce) {
  const auto op = [](char last) {
    const std::string id = "6F1A0A4E-0001-4000-8000-00000000000" + std::string(1, last);
    return R"({"id":")" + id + R"(","route":"pending-photo","eventID":")" + id +
           R"(","file":"watch-)" + last + R"(.jpg","createdAt":794134800})";
  };
  ASSERT_TRUE(preferences.set("watch.outbox", outboxOf(op('A') + "," + op('B'))));
  ASSERT_TRUE(files.makeFolder("/tmp/brindle"));
  for (const char* name : {"watch-A.jpg", "watch-B.jpg", "watch-old.json", "another"}) {
    ASSERT_TRUE(files.writeWhole("/tmp/brindle/" + std::string(name), viewOf(name)));
  }
  HttpRequest earlier{HttpRequest::Method::post,
                      "https://service.example/api/watch/pending-photo",
                      {},
                      {},
                      "/tmp/brindle/watch-A.jpg",
                      1min};
  service.once("api/watch/", {.copies = 0});
  ASSERT_TRUE(
      background.send(earlier, "watch|6F1A0A4E-0001-4000-8000-00000000000A|0|" + earlier.bodyFile));
  service.always("api/watch/", {.held = true});
  files.failNext(FileOp::read, {FileError::Kind::denied, 13});
  launch();
  EXPECT_TRUE(lines.has("outbox: moved to Application Support, 1 photos copied"));
  EXPECT_TRUE(
      lines.has("outbox: 1 photos not copied from the temporary folder, tried again next launch"));
  EXPECT_THAT(outboxFiles(), ElementsAre("watch-B.jpg"));
  EXPECT_THAT(service.to("api/watch/pending-photo"), SizeIs(4)) << "the other from where it lies";
  kill();
  lines.clear();
  launch();
  EXPECT_TRUE(lines.has("outbox: moved to Application Support, 1 photos copied"));
  EXPECT_TRUE(lines.has(
      "outbox: 2 files cleared from the temporary folder, 1 kept for tasks on their way"));
  EXPECT_THAT(preferences.text("watch.outbox").value_or(""), HasSubstr("\"copied\":true"));
  EXPECT_EQ(preferences.boolean("watch.outboxMoved"), true);
  EXPECT_THAT(files.list("/tmp/brindle").value(), ElementsAre("another", "watch-A.jpg"));
}

}  // namespace
}  // namespace brindle
