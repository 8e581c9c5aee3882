#include "service/alert_watch.h"

#include <gmock/gmock.h>

#include "testing/watch_world.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class AlertWatchTest : public testing::Test, protected WatchWorld {
 protected:
  std::string owed() { return preferences.text("watch.outbox").value_or(""); }
  void answerAll() {
    service.releaseAll();
    scheduler.run();
  }
  void announceSleep() {
    power.announceSleep();
    scheduler.run();
  }
  bool said(std::string_view line) { return lines.has(line); }
  std::string text(std::string_view path, std::size_t i = 0) {
    const auto all = service.to(path);
    return i < all.size() ? std::string(all[i]->text()) : std::string();
  }
};

TEST_F(AlertWatchTest, APendingIsOnDiskThenOnTheWireOnBothChannelsAndEndsWithTheFirstAnswer) {
  service.always("api/watch/", {.held = true});
  launch();
  EXPECT_TRUE(said("start: signed in, backstop on, enabled true, 0 queued"));
  machine.setName(std::string(59, 'a') + "e\xCC\x81tail");  // an accent of its own is no character
  std::string stored;
  service.onRequest = [&](const ScriptedRequest&) {
    if (stored.empty()) stored = owed();
  };
  const Uuid event = random.newUuid();
  watch->pending({event, scheduler.wallTime(), "watched-file", 2, "Berlin", "letter.txt"});
  ASSERT_THAT(service.requests(), SizeIs(2));  // before the call is over
  EXPECT_THAT(stored, HasSubstr("\"route\":\"pending\""));
  const auto& request = service.requests()[0];
  EXPECT_EQ(request.channel, "") << "the immediate copy goes first";
  EXPECT_EQ(request.header("Authorization"), "Bearer token-1");
  EXPECT_EQ(request.header("Content-Type"), "application/json");
  EXPECT_EQ(request.text(),
            "{\"eventId\":\"" + event.upper() + "\",\"deviceId\":\"" +
                *preferences.text("push.deviceId") + "\",\"device\":\"" + std::string(59, 'a') +
                "e\xCC\x81\",\"platform\":\"macos\",\"at\":\"2026-03-02T09:00:00Z\","
                "\"timeZone\":\"Europe/Berlin\",\"kind\":\"watched-file\","
                "\"wrongPINs\":2,\"emailAlerts\":true,\"place\":\"Berlin\","
                "\"targetName\":\"letter.txt\"}");
  EXPECT_EQ(request.text(), service.requests()[1].text());
  EXPECT_THAT(outboxFiles(), ElementsAre(HasSubstr("watch-")));
  EXPECT_EQ(activity.running(), 1);

  AlertWatchResult result = AlertWatchResult::retryLater;
  watch->onResult = [&](const Uuid&, AlertWatchResult how) { result = how; };
  scheduler.advance(40ms);
  service.release(1);
  scheduler.run();
  EXPECT_TRUE(said("sent: pending seq 0 on immediate, attempt 1"));
  EXPECT_TRUE(said("answer: pending seq 0 on background, HTTP 200 done in 40 ms"));
  EXPECT_TRUE(said("cancelled: pending seq 0 on immediate after 40 ms: the other copy answered"));
  answerAll();
  EXPECT_FALSE(said("answer: pending seq 0 on immediate, HTTP 200 done in 40 ms"));
  EXPECT_EQ(result, AlertWatchResult::done);
  EXPECT_THAT(outboxFiles(), IsEmpty());
  EXPECT_FALSE(preferences.text("watch.outbox"));
  EXPECT_EQ(activity.running(), 0);
  EXPECT_EQ(scheduler.pending(), 0u) << "off and nothing owed: no timer";
}

TEST_F(AlertWatchTest, CheckInsTellEveryChangeOnceWithNumbersThatNeverFall) {
  launch();
  watch->guardOn(ArmSource::owner());
  const std::int64_t first = 1'772'442'000 - 1'767'225'600;
  EXPECT_TRUE(said("check-in queued: beat seq " + std::to_string(first)));
  EXPECT_THAT(text("api/watch/beat"),
              HasSubstr("\"on\":true,\"sleeping\":false,\"timeZone\":\"Europe/Berlin\",\"seq\":" +
                        std::to_string(first) + "}"));
  EXPECT_EQ(watch->status().line, "Brindle is on: checking in every few minutes");
  scheduler.advance(59s);
  watch->guardOn(ArmSource::owner());
  EXPECT_THAT(routes(), ElementsAre("beat")) << "said less than a minute ago";
  scheduler.setWallTime(scheduler.wallTime() - std::chrono::hours(24 * 365));
  watch->guardOff();
  EXPECT_TRUE(said("check-in queued: release seq " + std::to_string(first + 1)));
  EXPECT_THAT(text("api/watch/release"), HasSubstr("\"reason\":\"turned-off\""));
  machine.setName("");
  ASSERT_TRUE(preferences.remove("watch.seq"));
  scheduler.advance(1s);
  watch->guardOn(ArmSource::owner());
  EXPECT_THAT(text("api/watch/beat", 2), HasSubstr("\"device\":\"Mac\""));
  EXPECT_THAT(text("api/watch/beat", 2), HasSubstr("\"seq\":0}")) << "a year before the epoch";
}

TEST_F(AlertWatchTest, TheHeartIsNeverExactAndStopsWithTheGuard) {
  for (const auto& [r, wait] :
       {std::pair(-3.0, 192s), std::pair(0.5, 240s), std::pair(9.0, 288s)}) {
    jitter = r;
    launch({.on = true});
    service.forgetRequests();
    scheduler.advance(wait - 1ms);
    EXPECT_THAT(routes(), IsEmpty()) << r;
    scheduler.advance(1ms);
    EXPECT_THAT(routes(), ElementsAre("beat")) << r;
    EXPECT_EQ(scheduler.pending(), 1u) << "nothing but the heart";
    watch->guardOff();
    scheduler.run();
    EXPECT_EQ(scheduler.pending(), 0u);
    kill();
  }
}

TEST_F(AlertWatchTest, OneEventsOperationsGoInOrderEachAfterTheAnswerToTheOneBefore) {
  service.always("api/watch/", {.held = true});
  launch();
  const Uuid event = unlock();
  takePhoto(event);
  EXPECT_TRUE(said("pending-photo queued in 0 ms"));
  watch->extend(event);
  watch->extend(event);
  EXPECT_THAT(routes(), ElementsAre("pending"));
  answerAll();
  EXPECT_THAT(routes(), ElementsAre("pending", "pending-photo"));
  EXPECT_EQ(text("api/watch/pending-photo"), "a photo");
  answerAll();
  EXPECT_THAT(routes(), ElementsAre("pending", "pending-photo", "extend"));
  proving = true;
  answerAll();
  scheduler.advance(10s);
  EXPECT_THAT(routes(), SizeIs(4)) << "said again while the owner goes on";
  watch->cancel(event);
  EXPECT_EQ(routes().back(), "cancel") << "no more time is wanted, so nobody waits for that answer";
  answerAll();
  EXPECT_THAT(outboxFiles(), IsEmpty());
  EXPECT_FALSE(preferences.text("watch.events"));
}

TEST_F(AlertWatchTest, WhatFailsIsTriedAgainAfterGrowingPausesForAQuarterOfAnHour) {
  service.always("api/watch/", {.status = 503});
  launch();
  unlock();
  std::vector<std::int64_t> pauses;
  Duration before = scheduler.awakeTime();
  service.onRequest = [&](const ScriptedRequest& request) {
    if (!request.channel.empty()) return;
    pauses.push_back((scheduler.awakeTime() - before) / 1s);
    before = scheduler.awakeTime();
  };
  scheduler.advance(4min);
  EXPECT_THAT(pauses, ElementsAre(2, 4, 8, 16, 32, 60, 60));
  EXPECT_TRUE(said("answer: pending seq 0 on immediate, HTTP 503 failed in 0 ms"));
  ASSERT_THAT(watch->status().queued, SizeIs(1));
  EXPECT_EQ(watch->status().queued[0].why, AlertWatchStatus::Why::triedAgain);
  EXPECT_EQ(watch->status().queued[0].attempts, 16);
  scheduler.setWallTime(scheduler.wallTime() + std::chrono::hours(24 * 365));
  scheduler.advance(10min);
  EXPECT_EQ(pauses.back(), 60) << "a clock that is set makes nothing old";
  scheduler.advance(10min);
  EXPECT_EQ(pauses.back(), 240) << "an old one goes with the regular sending";
  service.always("api/watch/", {.status = 409});
  scheduler.advance(5min);
  EXPECT_THAT(watch->status().queued, IsEmpty()) << "refused for good";
}

TEST_F(AlertWatchTest, ACopyWithoutAnAnswerCountsOnlyWhenItIsTheLast) {
  launch();
  service.once("api/watch/pending", {.status = 0});
  service.once("api/watch/pending", {.delay = 5s});
  unlock();
  scheduler.advance(5s);
  EXPECT_TRUE(said("answer: pending seq 0 on background, HTTP 200 done in 5000 ms"));
  EXPECT_THAT(service.requests(), SizeIs(2));
}

TEST_F(AlertWatchTest, ABodyThatCannotBeWrittenIsSentFromMemoryAndWrittenLater) {
  launch();
  files.failAll({FileError::Kind::noSpace, 28});
  service.always("api/watch/", {.copies = 0});
  const Uuid event = unlock();
  EXPECT_TRUE(said("outbox: a check-in body not written"));
  EXPECT_THAT(owed(), HasSubstr("\"body\":\"eyJldmVudElk"));
  EXPECT_THAT(service.requests(), SizeIs(1)) << "the system has no file to take";
  watch->firstPhoto(event, "gone.jpg");
  scheduler.advance(10s);
  EXPECT_TRUE(said("outbox: first photo not written"));
  EXPECT_TRUE(said("answer: pending seq 0 on immediate, HTTP 0 failed in 10000 ms"));
  files.failNothing();
  service.usual("api/watch/");
  scheduler.advance(2s);
  EXPECT_THAT(watch->status().queued, IsEmpty());
}

TEST_F(AlertWatchTest, SignedOutNothingGoesAndACancelLeavesOnlyThePending) {
  service.always("api/watch/", {.held = true});
  launch();
  const Uuid event = unlock();
  takePhoto(event);
  account.signOut();
  scheduler.run();
  EXPECT_EQ(background.underWay(), 0u) << "its token is not good any more";
  watch->cancel(event);
  takePhoto(event);
  EXPECT_THAT(owed(), HasSubstr("\"cancelAsked\":true"));
  EXPECT_TRUE(said("not sent: cancel seq 0 on immediate, signed-out"));
  EXPECT_EQ(watch->status().queued[0].why, AlertWatchStatus::Why::waitsForItsAccount);
  EXPECT_EQ(scheduler.pending(), 0u);
  service.forgetRequests();
  service.usual("api/watch/");
  account.signIn("owner@example.org");
  scheduler.run();
  EXPECT_THAT(routes(), ElementsAre("pending", "cancel"));

  service.always("api/watch/", {.held = true});
  const Uuid late = unlock();
  takePhoto(late);
  account.signIn("another@example.org");
  unlock();
  watch->forgetAccount("Owner@example.org");
  watch->cancel(late);
  scheduler.run();
  EXPECT_THAT(watch->status().queued, SizeIs(1)) << "the other account's";
  EXPECT_THAT(outboxFiles(), SizeIs(1));
}

TEST_F(AlertWatchTest, ARelaunchTakesUpWhatIsOwedAndWhatTheSystemCarriedMeanwhile) {
  service.always("api/watch/", {.held = true});
  launch({.on = true});
  const Uuid answered = unlock(), open = unlock();
  kill();
  service.release(3);  // the background copy of the first, after the beat's two
  service.usual("api/watch/");
  launch({.on = true});
  EXPECT_TRUE(said("answer: pending seq 0 on background, HTTP 200 done in 0 ms"));
  EXPECT_TRUE(said("not sent: pending seq 0 on background, earlier"));
  watch->cancel(answered);
  watch->cancel(open);
  EXPECT_THAT(service.to("api/watch/cancel"), SizeIs(4)) << "what it waits for is remembered";
  HttpRequest foreign{HttpRequest::Method::post, "https://service.example/x", {}, {}, "/x", 1min};
  ASSERT_TRUE(files.writeWhole("/x", viewOf("x")));
  ASSERT_TRUE(background.send(foreign, "of another program"));
  scheduler.run();
  EXPECT_TRUE(said("answer: unknown seq 0 on unknown, HTTP 404 refused in 0 ms"));
}

TEST_F(AlertWatchTest, ANewStartTellsHowTheLastRunEnded) {
  enum End { crashes, quits, updates, isEnded };
  const std::tuple<End, bool, std::string> ends[] = {{crashes, true, "crash"},
                                                     {quits, false, "quit"},
                                                     {updates, false, "updating"},
                                                     {isEnded, true, "login-item"},
                                                     {isEnded, false, "quit"}};
  launch({.on = true});
  for (const auto& [end, asLoginItem, reason] : ends) {
    if (end == updates) watch->updating();
    if (end == isEnded) service.once("api/watch/beat", {.delay = 2s});
    if (end != crashes) watch->quitting(end == isEnded);
    EXPECT_EQ(watch->underWay(), end == isEnded) << "a courier goes with the system";
    scheduler.advance(2s);
    EXPECT_FALSE(watch->underWay());
    kill();
    service.forgetRequests();
    lines.clear();
    launch({.on = true, .asLoginItem = asLoginItem});
    EXPECT_THAT(text("api/watch/beat"), HasSubstr("\"reset\":\"" + reason + "\",\"resetId\":\""));
    EXPECT_THAT(lines.all(), HasSubstr(", reset " + reason + "\n"));
    EXPECT_EQ(preferences.boolean("watch.loginItemWhileOn").value_or(false), asLoginItem);
    EXPECT_FALSE(preferences.get("watch.reset"));
  }
  watch->updating();
  EXPECT_TRUE(said("updating: told on true, declared asleep false"));
  kill();
  service.forgetRequests();
  launch();
  EXPECT_THAT(text("api/watch/release"), HasSubstr("\"on\":false")) << "it was told on";
}

TEST_F(AlertWatchTest, TheBackstopIsFlippedByTheOwnerAndByTheService) {
  launch({.on = true});
  watch->setBackstop(false);
  EXPECT_TRUE(said("backstop off, switched by the owner"));
  service.once("api/watch/beat", {.body = R"({"backstop":true})"});
  scheduler.advance(4min);
  EXPECT_TRUE(said("backstop on, switched by the service"));
}

// Sleep

TEST_F(AlertWatchTest, SleepWaitsForTheAnswersOrTheCapAndIsLetGoOnce) {
  service.always("api/watch/", {.held = true});
  launch();
  announceSleep();
  EXPECT_TRUE(said("will sleep: signed in, on false, declared already false"));
  EXPECT_TRUE(said("sleep: nothing on its way, let go at once"));
  EXPECT_THAT(service.requests(), IsEmpty());
  watch->guardOn(ArmSource::owner());
  answerAll();
  power.setLongestHold(4s);
  announceSleep();
  EXPECT_THAT(text("api/watch/beat", 2), HasSubstr("\"on\":true,\"sleeping\":true"));
  EXPECT_TRUE(said("sleep: held for 1 request(s), cap 4.000000 s"));
  EXPECT_EQ(power.allowed(), 1);
  scheduler.advance(1500ms);
  answerAll();
  EXPECT_TRUE(said("sleep: let go after 1500 ms (done)"));
  scheduler.sleepFor(9h);
  power.wake();
  scheduler.run();
  EXPECT_TRUE(said("woke: on true, declared asleep true"));
  EXPECT_THAT(text("api/watch/beat", 4), HasSubstr("\"sleeping\":false"));
  power.announceSleep();
  scheduler.advance(4s);
  EXPECT_TRUE(said("sleep: let go after 4000 ms (cap)"));
  answerAll();
  EXPECT_EQ(power.allowed(), 3);
  unlock();
  announceSleep();
  EXPECT_EQ(power.allowed(), 3);
  kill();
  EXPECT_EQ(power.allowed(), 4) << "the machine must not wait for a program that is gone";
}

TEST_F(AlertWatchTest, NearSleepACancelGoesAheadAndOnceMoreInItsOrder) {
  service.always("api/watch/", {.held = true});
  launch();
  const Uuid event = unlock();
  takePhoto(event);
  announceSleep();
  EXPECT_TRUE(said("sleep: pending-photo handed over ahead of its order"));
  watch->cancel(event);
  announceSleep();
  EXPECT_TRUE(said("sleep: cancel handed over ahead of its order"));
  EXPECT_THAT(routes(), ElementsAre("pending", "pending-photo", "cancel"));
  service.release(4);
  scheduler.run();
  EXPECT_THAT(owed(), HasSubstr("\"route\":\"cancel\""));
  service.usual("api/watch/");
  service.release(0);
  scheduler.run();
  EXPECT_EQ(routes().back(), "cancel") << "after the answer to its pending";
  EXPECT_THAT(watch->status().queued, IsEmpty());
}

}  // namespace
}  // namespace brindle
