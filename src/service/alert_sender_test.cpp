#include "service/alert_sender.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "platform/memory/background_transfer_memory.h"
#include "platform/memory/files_memory.h"
#include "platform/memory/machine_memory.h"
#include "platform/memory/preferences_memory.h"
#include "platform/memory/random_memory.h"
#include "testing/recording_log.h"
#include "testing/scripted_service.h"
#include "testing/signed_in.h"
#include "testing/virtual_scheduler.h"
#include "testing/virtual_worker_queue.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

constexpr std::string_view outbox = "/home/Brindle/outbox-alerts";

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
  EXPECT_EQ(body->boundary, "brindle-C");
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
  EXPECT_EQ(boundaryOf(body->bytes), "brindle-C");

  const auto bare = multipartBody({}, {}, draw);
  for (const char* absent : {"reason", "targetName", "lat", "lon", "accuracy", "photo0"}) {
    EXPECT_EQ(textOf(bare->bytes).find(absent), std::string_view::npos) << absent;
  }
  EXPECT_FALSE(multipartBody({}, photos, [] { return "B"; })) << "no boundary can be had";
}

class AlertSenderTest : public testing::Test {
 protected:
  void SetUp() override {
    transfer.setServer(service.server());
    for (const char* folder : {"/home/Brindle/photos", "/tmp"}) {
      ASSERT_TRUE(files.makeFolder(folder));
    }
    for (const FileName& name : event.photoFiles) {
      ASSERT_TRUE(files.writeWhole("/home/Brindle/photos/" + name, viewOf("jpeg of " + name)));
    }
    launch();
  }
  void TearDown() override {
    kill();
    EXPECT_EQ(scheduler.pending(), transfer.underWay()) << "a timer outlived the sender";
  }
  void launch() {
    worker = std::make_unique<VirtualWorkerQueue>(scheduler);
    sender = std::make_unique<AlertSender>(AlertSender::Parts{
        scheduler, *worker, files, transfer, client, account, defaults, machine, random, Log(lines),
        std::string(outbox), "/home/Brindle/photos", "/tmp"});
    sender->start();
    results = sender->onResult([this](const Uuid& id, AlertState how) { ended[id] = how; });
    scheduler.run();
  }
  void kill() {
    transfer.detach();
    sender.reset();
    worker.reset();
  }
  void relaunch() {
    kill();
    launch();
  }
  template <class Report>
  std::optional<HandOver> handOver(const Report& report) {
    std::optional<HandOver> how;
    sender->handOver(report, [&how](HandOver what) { how = what; });
    EXPECT_FALSE(how) << "never inline";
    scheduler.run();
    return how;
  }
  std::size_t bodies() {
    const auto names = files.list(std::string(outbox)).value_or(std::vector<std::string>{});
    return static_cast<std::size_t>(std::ranges::count_if(
        names, [](const auto& name) { return alertBodyId(name).has_value(); }));
  }
  std::size_t arrived() const { return service.to("api/alert").size(); }
  static UnlockEvent unlock() {
    UnlockEvent made;
    made.id = Uuid{{9}};
    made.photoFiles = {"a.jpg", "b.jpg"};
    return made;
  }

  VirtualScheduler scheduler;
  MemoryFiles files;
  ScriptedService service{scheduler};
  MemoryBackgroundTransfer transfer{scheduler, files, std::string(AlertSender::sessionIdentifier)};
  MemoryHttp http{scheduler, files};
  SignedIn account{scheduler};
  ServiceClient client{http, account, "https://service.test/"};
  MemoryPreferences defaults;
  MemoryMachine machine;
  MemoryRandom random{1};
  RecordingLog lines;
  UnlockEvent event = unlock();
  std::map<Uuid, AlertState> ended;
  std::unique_ptr<VirtualWorkerQueue> worker;
  std::unique_ptr<AlertSender> sender;
  Subscription results;
};

TEST_F(AlertSenderTest, AReportIsABodyOnDiskAndThenOneUploadWithItsPhotos) {
  event.trigger = Trigger{"watched-file", "Diary"};
  event.photoFiles.insert(event.photoFiles.begin(), "../state.json");
  service.always("api/alert", {.held = true});
  EXPECT_EQ(handOver(event), HandOver::handedOver);
  ASSERT_EQ(arrived(), 1u);
  const ScriptedRequest& request = *service.to("api/alert")[0];
  EXPECT_EQ(request.channel, "brindle.alerts");
  EXPECT_EQ(request.headers[0], (HttpHeader{"Authorization", "Bearer token of eva@example.org"}));
  EXPECT_EQ(request.header("X-Brindle-Alert"), event.id.upper());
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

  service.always("api/alert", {.status = 413});
  const CameraOffAlert off{Uuid{{3}}, scheduler.wallTime(), AlertState::none};
  EXPECT_EQ(handOver(off), HandOver::handedOver);
  EXPECT_NE(service.to("api/alert")[1]->text().find("camera-off"), std::string_view::npos);
  EXPECT_EQ(ended.at(off.id), AlertState::rejected);
  EXPECT_EQ(bodies(), 0u);
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
  transfer.setFailing(true);
  sender->hurry();
  transfer.setFailing(false);
  scheduler.advance(2s);
  EXPECT_EQ(ended.at(event.id), AlertState::sent);
}

TEST_F(AlertSenderTest, ABodyIsSentForItsOwnAccountOnly) {
  service.always("api/alert", {.status = 500});
  EXPECT_EQ(handOver(event), HandOver::handedOver);
  account.signIn("adam@example.org");
  scheduler.advance(1h);
  EXPECT_EQ(arrived(), 1u);
  account.signOut();
  scheduler.advance(1h);
  EXPECT_EQ(sender->waiting().at(0).why, AlertSender::Waiting::Why::notSignedIn);
  const CameraOffAlert off{Uuid{{3}}, {}, AlertState::none};
  EXPECT_EQ(handOver(off), HandOver::nothingOwed);
  account.lock("eva@example.org");
  EXPECT_EQ(handOver(off), HandOver::handedOver) << "the keychain has not answered yet";
  relaunch();
  service.usual("api/alert");
  account.signIn("eva@example.org");
  scheduler.run();
  EXPECT_EQ(ended.at(event.id), AlertState::sent);
  EXPECT_TRUE(sender->setWantsAlerts(false));
  EXPECT_EQ(handOver(event), HandOver::nothingOwed);
  EXPECT_EQ(defaults.boolean("alerts.touched"), true);
}

TEST_F(AlertSenderTest, AReportIsReplacedOrWithdrawnWhileThatIsPossible) {
  service.always("api/alert", {.held = true});
  handOver(event);
  event.wrongPINs = 7;
  handOver(event);
  EXPECT_EQ(bodies(), 1u);
  service.release();  // of the first, which was cancelled
  scheduler.run();
  EXPECT_FALSE(ended.contains(event.id));
  sender->withdraw(event.id);
  EXPECT_TRUE(!sender->holds(event.id) && bodies() == 1) << "on its way: nobody can stop it";
  relaunch();
  service.release();
  scheduler.run();
  EXPECT_EQ(ended.at(event.id), AlertState::sent);

  worker->hold();
  sender->handOver(event, [](HandOver) {});
  sender->withdraw(event.id);  // before it was written
  worker->release();
  scheduler.run();
  EXPECT_EQ(bodies() + sender->stillQueued(), 0u);
  EXPECT_EQ(arrived(), 2u);
}

TEST_F(AlertSenderTest, WhateverStepFailsWhatWasTakenArrivesAndNothingIsLeftBehind) {
  service.setReachable(false);
  std::size_t taken = 0;
  for (std::size_t steps = 0; steps < 24; ++steps) {
    service.setReachable(false);
    event.id = Uuid{{static_cast<std::uint8_t>(steps + 1)}};
    files.failAfter(steps, {FileError::Kind::noSpace, 28});
    const auto how = handOver(event);
    ASSERT_TRUE(how);
    const bool owed = *how == HandOver::handedOver;
    taken += owed ? 1 : 0;
    EXPECT_EQ(sender->holds(event.id), owed) << steps;
    kill();
    files.crash();
    files.failNothing();
    service.setReachable(true);
    launch();
    scheduler.advance(1min);
    EXPECT_EQ(ended.contains(event.id), owed) << steps;
    EXPECT_EQ(bodies(), 0u) << steps;
  }
  EXPECT_TRUE(taken > 0 && taken < 24) << taken;
}

TEST_F(AlertSenderTest, AResultOfAnEarlierRunReachesItsEventOnce) {
  service.always("api/alert", {.held = true});
  handOver(event);
  relaunch();
  EXPECT_EQ(arrived(), 1u) << "it is still on its way";
  kill();
  service.release();
  scheduler.run();
  launch();
  EXPECT_EQ(ended.at(event.id), AlertState::sent);
  ASSERT_TRUE(files.writeWhole(std::string(outbox) + "/index.json",
                               viewOf(R"({"bodies":[7,{"id":"x"},{"id":")" + Uuid{{1}}.upper() +
                                      R"(","email":"e","boundary":"brindle-\r\nX: y",)"
                                      R"("file":"../a"}]})")));
  relaunch();
  EXPECT_EQ(sender->stillQueued(), 0u) << "nothing that nobody wrote becomes a request";
}

TEST_F(AlertSenderTest, BodiesOfAnEarlierBuildAreCopiedAndSentAgainUnlessTheyAreOld) {
  const Uuid answered{{1}}, late{{2}}, hopeless{{3}};
  const auto path = [](const Uuid& id) { return "/tmp/" + alertBodyName(id); };
  kill();
  transfer.start([](const TransferResult&) {});
  service.always("api/alert", {.held = true});
  for (const Uuid& id : {answered, late, hopeless}) {
    ASSERT_TRUE(files.writeWhole(path(id), viewOf("--brindle-X\r\nbody\r\n--brindle-X--\r\n")));
    HttpRequest request;
    request.url = "https://service.test/api/alert";
    request.bodyFile = path(id);
    request.timeout = 30h;
    if (id == hopeless) continue;
    ASSERT_TRUE(transfer.send(request, id.upper() + "|" + path(id)));
  }
  ASSERT_TRUE(files.writeWhole(path(Uuid{{4}}), viewOf("no body")));
  transfer.detach();
  service.release(0);
  account.signOut();
  launch();
  EXPECT_EQ(lines.count("alert uploads: 3 bodies copied out of the temporary folder, 1 not"), 0u);
  service.always("api/alert", {.status = 500});
  account.signIn("eva@example.org");
  scheduler.advance(1s);
  EXPECT_TRUE(lines.has("alert uploads: 2 bodies copied out of the temporary folder, 1 not"));
  EXPECT_EQ(sender->stillQueued(), 2u) << "one was answered before";
  EXPECT_FALSE(files.exists(path(answered)).value());
  EXPECT_TRUE(
      lines.has("alert upload: an earlier build's had no answer, sent again from its copy"));
  service.usual("api/alert");
  service.decide = [&](const ScriptedRequest& request) -> std::optional<ScriptedReply> {
    const bool its = request.header("X-Brindle-Alert") == hopeless.upper();
    return ScriptedReply{.status = its ? 500 : 200};
  };
  service.release(0);  // "late" had a connection, and then no answer
  scheduler.advance(10s);
  EXPECT_EQ(sender->stillQueued(), 1u);
  scheduler.advance(25h);
  EXPECT_TRUE(lines.has(
      "alert upload: an earlier build's had no answer and isn't sent again, its copy removed"));
  EXPECT_EQ(bodies() + sender->stillQueued(), 0u);
  EXPECT_FALSE(files.exists(path(hopeless)).value() || files.exists(path(late)).value());
}

}  // namespace
}  // namespace brindle
