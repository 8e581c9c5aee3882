#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "testing/alert_world.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

TEST(MultipartBodyTest, EveryByteIsAsTheServiceReadsIt) {
  AlertFields fields;
  fields.unlockAt = WallTime(std::chrono::seconds(1'772'442'000));
  fields.timeZone = "Europe/Berlin";
  fields.deviceName = "Eva\r\n\x1b\xc2\x85\xe2\x80\xa8's";
  fields.wrongPINs = 2;
  fields.reason = "watched-file";
  fields.targetName = "Di\xc3\xa4ry";
  fields.location = UnlockLocation{51.5, -0.125, 12.6, {}, "home"};
  const std::vector<Bytes> photos{bytesOf("one"), bytesOf("brindle-B\r\n"), bytesOf("3"),
                                  bytesOf("4"), bytesOf("five")};
  std::vector<std::string> draws{"C", "B"};  // B occurs in a photo
  const auto draw = [&draws] {
    const std::string next = draws.back();
    if (draws.size() > 1) draws.pop_back();
    return next;
  };
  const auto body = multipartBody(fields, photos, draw);
  ASSERT_TRUE(body);
  const std::string field = "--brindle-C\r\nContent-Disposition: form-data; name=";
  const std::string jpeg = "\r\nContent-Type: image/jpeg\r\n\r\n";
  EXPECT_EQ(
      textOf(body->bytes),
      field + "\"unlockAt\"\r\n\r\n2026-03-02T09:00:00Z\r\n" + field +
          "\"timeZone\"\r\n\r\nEurope/Berlin\r\n" + field + "\"deviceName\"\r\n\r\nEva     's\r\n" +
          field + "\"wrongPINs\"\r\n\r\n2\r\n" + field + "\"device\"\r\n\r\nmac\r\n" + field +
          "\"reason\"\r\n\r\nwatched-file\r\n" + field + "\"targetName\"\r\n\r\nDi\xc3\xa4ry\r\n" +
          field + "\"lat\"\r\n\r\n51.50000\r\n" + field + "\"lon\"\r\n\r\n-0.12500\r\n" + field +
          "\"accuracy\"\r\n\r\n13\r\n" + field + "\"photo0\"; filename=\"unlock-1.jpg\"" + jpeg +
          "one\r\n" + field + "\"photo1\"; filename=\"unlock-2.jpg\"" + jpeg + "brindle-B\r\n\r\n" +
          field + "\"photo2\"; filename=\"unlock-3.jpg\"" + jpeg + "3\r\n" + field +
          "\"photo3\"; filename=\"unlock-4.jpg\"" + jpeg + "4\r\n--brindle-C--\r\n");

  EXPECT_FALSE(multipartBody({}, photos, [] { return "B"; })) << "no boundary can be had";
}

class AlertSenderTest : public testing::Test, public AlertWorld {
 protected:
  AlertSenderTest() {
    event.id = Uuid{{9}};
    event.photoFiles = {"a.jpg", "b.jpg"};
  }
  void TearDown() override {
    kill();
    EXPECT_EQ(scheduler.pending(), transfer.underWay()) << "a timer outlived the sender";
  }
  UnlockEvent event;
};

TEST_F(AlertSenderTest, AReportIsABodyOnDiskAndThenOneUploadWithItsPhotos) {
  event.trigger = Trigger{"watched-file", "Diary"};
  event.photoFiles.insert(event.photoFiles.begin(), "../state.json");
  service.always("api/alert", {.held = true});
  EXPECT_EQ(handOver(event), HandOver::handedOver);
  ASSERT_EQ(arrived(), 1u);
  const ScriptedRequest& request = *service.to("api/alert")[0];
  EXPECT_EQ(request.channel, "brindle.alerts");
  EXPECT_EQ(request.headers[0], (HttpHeader{"Authorization", "Bearer token of eva"}));
  EXPECT_EQ(request.header("Content-Type"),
            "multipart/form-data; boundary=" + boundaryOf(request.body).value_or("none"));
  for (const char* part : {"watched-file", "Diary", "jpeg of a.jpg", "unlock-2.jpg", "Berlin"}) {
    EXPECT_NE(request.text().find(part), std::string_view::npos) << part;
  }
  EXPECT_TRUE(sender->holds(event.id) && bodies() == 1 && sender->stillQueued() == 1);
  EXPECT_EQ(sender->waiting().at(0).why, AlertSender::Waiting::Why::onItsWay);
  service.release();
  scheduler.run();
  EXPECT_EQ(ended.at(event.id), AlertState::sent);
  EXPECT_TRUE(!sender->holds(event.id) && bodies() == 0);

  const CameraOffAlert off{Uuid{{3}}, {}, AlertState::none};
  account.lock("adam");
  EXPECT_EQ(handOver(off), HandOver::handedOver) << "the keychain has not answered yet";
  EXPECT_EQ(sender->waiting().at(0).why, AlertSender::Waiting::Why::notSignedIn);
  service.always("api/alert", {.status = 413});
  account.signIn("adam");
  scheduler.run();
  EXPECT_NE(service.to("api/alert")[1]->text().find("camera-off"), std::string_view::npos);
  EXPECT_EQ(ended.at(off.id), AlertState::rejected);
  EXPECT_TRUE(sender->setWantsAlerts(false) && preferences.boolean("alerts.touched") == true);
  EXPECT_EQ(handOver(event), HandOver::nothingOwed);
}

TEST_F(AlertSenderTest, WithoutAnAnswerItIsSentAgainAndSoonerWhenSomethingGotBetter) {
  service.always("api/alert", {.status = 503});
  EXPECT_EQ(handOver(event), HandOver::handedOver);
  std::size_t sent = 1;
  for (const Duration wait : {2s, 4s, 8s, 16s, 32s, 60s, 600s, 600s}) {
    scheduler.advance(wait - 1ns);
    EXPECT_EQ(arrived(), sent);
    scheduler.advance(1ns);
    EXPECT_EQ(arrived(), ++sent) << wait.count();
  }
  service.setReachable(false);
  sender->hurry();
  scheduler.advance(1s);
  EXPECT_TRUE(lines.has("alert upload: no answer, attempt 1"));
  EXPECT_EQ(sender->waiting().at(0).why, AlertSender::Waiting::Why::waitsForRetry);
  service.setReachable(true);
  service.usual("api/alert");
  sender->hurry();
  scheduler.run();
  EXPECT_EQ(ended.at(event.id), AlertState::sent);

  service.always("api/alert", {.held = true});
  handOver(event);
  account.signIn("adam");
  handOver(CameraOffAlert{Uuid{{3}}, {}, AlertState::none});
  sender->forgetAccount("Eva");
  scheduler.run();
  EXPECT_EQ(ended.at(event.id), AlertState::rejected) << "nobody sends it for somebody else";
  EXPECT_TRUE(sender->holds(Uuid{{3}}) && bodies() == 1 && transfer.underWay() == 1);
}

TEST_F(AlertSenderTest, AReportIsReplacedOrWithdrawnWhileThatIsPossible) {
  service.always("api/alert", {.held = true});
  handOver(event);
  event.wrongPINs = 7;
  handOver(event);
  EXPECT_EQ(bodies(), 1);
  service.release();  // of the first, which was cancelled
  scheduler.run();
  EXPECT_FALSE(ended.contains(event.id));
  sender->withdraw(event.id);
  EXPECT_TRUE(!sender->holds(event.id) && bodies() == 1) << "on its way: nobody can stop it";
  service.release();
  scheduler.run();
  worker->hold();
  sender->handOver(event, [](HandOver) {});
  sender->withdraw(event.id);  // before it was written
  worker->release();
  scheduler.run();
  EXPECT_TRUE(bodies() == 0 && sender->stillQueued() == 0);
  EXPECT_EQ(arrived(), 2u);
  const std::string_view forged =
      R"({"bodies":[7,{"id":"00000000-0000-0000-0000-000000000001","email":"e",)"
      R"("boundary":"brindle-\r\nX: y","file":"a"}]})";
  ASSERT_TRUE(files.writeWhole(outbox + "/index.json", viewOf(forged)));
  ASSERT_TRUE(files.writeWhole(outbox + "/a", viewOf("body")));
  relaunch();
  EXPECT_EQ(sender->stillQueued(), 0u) << "nothing that nobody wrote becomes a request";
}

TEST_F(AlertSenderTest, BodiesOfAnEarlierBuildAreCopiedAndSentAgainUnlessTheyAreOld) {
  const Uuid answered{{1}}, hopeless{{2}};
  const auto path = [](const Uuid& id) { return "/tmp/" + alertBodyName(id); };
  for (const Uuid& id : {answered, hopeless}) {
    ASSERT_TRUE(files.writeWhole(path(id), viewOf("--brindle-X\r\nbody\r\n--brindle-X--\r\n")));
  }
  kill();
  transfer.start([](const TransferResult&) {});
  HttpRequest request;
  request.url = "https://service.test/api/alert";
  request.bodyFile = path(answered);
  ASSERT_TRUE(transfer.send(request, answered.upper() + "|" + path(answered)));
  ASSERT_TRUE(files.writeWhole(path(Uuid{{4}}), viewOf("no body")));
  transfer.detach();
  account.signOut();
  launch();
  service.always("api/alert", {.status = 500});
  account.signIn("eva");
  scheduler.advance(1s);
  EXPECT_TRUE(lines.has("alert uploads: 1 bodies copied out of the temporary folder, 1 not"));
  EXPECT_TRUE(
      lines.has("alert upload: an earlier build's had no answer, sent again from its copy"));
  EXPECT_EQ(service.requests().back().header("X-Brindle-Alert"), hopeless.upper());
  scheduler.advance(25h);
  EXPECT_TRUE(lines.has(
      "alert upload: an earlier build's had no answer and isn't sent again, its copy removed"));
  EXPECT_TRUE(bodies() == 0 && sender->stillQueued() == 0);
}

/// Does anything in any order, and knows what must come of it.
class RandomAlerts : public AlertWorld {
 public:
  explicit RandomAlerts(std::uint64_t seed) : dice_(seed) {
    service.decide = [this](const ScriptedRequest& request) { return reply(request); };
  }
  void step() {
    switch (dice_() % 10) {
      case 0:
        return kill(), files.crash(), mend(), launch();
      case 1:
        return files.failAfter(dice_() % 9, {FileError::Kind::noSpace, 28});
      case 2:
        return mend();
      case 3:
        return dice_() % 3 == 0 ? account.signOut()
                                : account.signIn(dice_() % 2 == 0 ? "eva" : "adam");
      case 4:
        return scheduler.setWallTime(scheduler.wallTime() + (dice_() % 2 == 0 ? 1 : -1) * 8760h);
      case 5:
        return sender->withdraw(withdrawn_.emplace_back(lastId()));
      case 6:
        return relaunch();
      case 7:
        return scheduler.advance(std::chrono::seconds(dice_() % 300));
      default:
        return report();
    }
  }
  void end() {
    mend();
    calm_ = true;
    for (const char* each : {"eva", "adam"}) {
      account.signIn(each);
      relaunch();
      scheduler.advance(20min);
    }
    for (const auto& [id, taken] : taken_) {
      const bool withdrawn = std::ranges::find(withdrawn_, id) != withdrawn_.end();
      EXPECT_TRUE(!taken || withdrawn || ended.contains(id)) << "a report was lost";
    }
    EXPECT_EQ(bodies() + static_cast<std::ptrdiff_t>(sender->stillQueued()), 0);
  }

 private:
  void mend() { files.failNothing(); }
  Uuid lastId() const { return Uuid{{static_cast<std::uint8_t>(taken_.size())}}; }
  void report() {
    UnlockEvent event;
    taken_[event.id = Uuid{{static_cast<std::uint8_t>(taken_.size() + 1)}}] = false;
    event.photoFiles = {"a.jpg"};
    owners_[event.id.upper()] = account.accountEmail();
    sender->handOver(
        event, [this, id = event.id](HandOver how) { taken_[id] = how == HandOver::handedOver; });
    if (dice_() % 2 == 0) scheduler.run();
  }
  std::optional<ScriptedReply> reply(const ScriptedRequest& request) {
    const std::string owner = owners_[std::string(request.header("X-Brindle-Alert"))];
    EXPECT_EQ(request.header("Authorization"), "Bearer token of " + owner);
    EXPECT_NE(request.text().find("jpeg of a.jpg"), std::string_view::npos) << "not whole";
    const ScriptedReply any[] = {{.status = 500}, {.status = 0},  {.copies = 0},
                                 {.status = 413}, {.delay = 50s}, {.copies = 2}};
    return calm_ ? ScriptedReply{} : any[dice_() % 6];
  }

  std::mt19937_64 dice_;
  bool calm_ = false;
  std::map<Uuid, bool> taken_;
  std::map<std::string, std::string> owners_;
  std::vector<Uuid> withdrawn_;
};

TEST(AlertRandomTest, WhatWasTakenArrivesForItsOwnerWhateverHappens) {
  const char* chosen = std::getenv("BRINDLE_SEED");
  std::uint64_t seed = chosen ? std::strtoull(chosen, nullptr, 10) : std::random_device{}();
  for (int round = 0; round < (chosen ? 1 : 150); ++round, ++seed) {
    SCOPED_TRACE("BRINDLE_SEED=" + std::to_string(seed));
    RandomAlerts alerts(seed);
    for (int i = 0; i < 60; ++i) alerts.step();
    alerts.end();
    if (testing::Test::HasFailure()) return;
  }
}

}  // namespace
}  // namespace brindle
