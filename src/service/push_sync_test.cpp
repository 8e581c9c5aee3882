#include "service/push_sync.h"

#include <gtest/gtest.h>

#include "platform/memory/notifications_memory.h"
#include "platform/memory/push_registration_memory.h"
#include "testing/service_world.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

class PushSyncTest : public testing::Test, public ServiceWorld {
 protected:
  void SetUp() override {
    ASSERT_TRUE(files.makeFolder("/data"));
    launch();
  }
  void TearDown() override {
    sync.reset();
    EXPECT_EQ(scheduler.pending(), 0u) << "a timer outlived its owner";
  }
  void launch() {
    sync.reset();
    sync = std::make_unique<PushSync>(PushSync::Parts{scheduler, client, account, preferences,
                                                      machine, push, notifications, random, files,
                                                      worker, "DEVICE", "/data/notices.json"});
    sync->onTurnOn = [this] { ++turnOns; };
    sync->start();
    scheduler.run();
  }
  /// The bodies that reached the service since the last call, one line each.
  std::string came() {
    std::string all;
    for (const ScriptedRequest& each : service.requests()) {
      all += each.path.substr(std::string_view("api/push/").size()) + " " +
             std::string(each.text()) + "\n";
    }
    service.forgetRequests();
    return all;
  }
  void notify(const DeviceNotice& notice) {
    sync->send(notice);
    scheduler.run();
  }
  void receive(std::string_view message) {
    push.receive(bytesOf(message));
    scheduler.run();
  }

  MemoryPushRegistration push{scheduler};
  MemoryNotifications notifications{scheduler};
  VirtualWorkerQueue worker{scheduler};
  int turnOns = 0;
  std::unique_ptr<PushSync> sync;
};

TEST(OtherDeviceNoticeTest, EveryKindHasItsTitle) {
  const char* rows[][3] = {
      {"unlock", "", "Someone unlocked it"},
      {"wrong-pin", "", "Someone got the Brindle PIN wrong"},
      {"wrong-answer", "", "Someone got the secret answer wrong"},
      {"wrong-password", "", "Someone typed a wrong password"},
      {"lock-screen", "", "Someone failed to unlock it"},
      {"watched-file", "", "Someone opened a watched file"},
      {"watched-folder", "", "Someone opened a watched folder"},
      {"watched-app", "", "Someone opened a watched app"},
      {"tripwire", "", "Someone opened a tripwire file"},
      {"lid-closed", "", "Someone closed its lid"},
      {"power-unplugged", "", "Someone unplugged it"},
      {"idle-return", "", "Someone touched it while you were away"},
      {"camera-off", "", "Brindle's camera access was switched off"},
      {"away-on", "", "Brindle turned itself on, because your iPhone wasn't near it"},
      {"turned-on", "schedule", "Brindle turned itself on, as scheduled"},
      {"turned-on", "iphone-away", "Brindle turned itself on, because your iPhone wasn't near it"},
      {"turned-on", "remote", "Brindle was turned on remotely"},
      {"turned-on", "owner", "Brindle was turned on"},
      {"turned-off", "", "Brindle was turned off"},
      {"went-quiet", "reset", "Brindle was reset"},
      {"went-quiet", "quit", "Brindle stopped while it was on"},
      {"went-quiet", "wiped", "Brindle was reset while it was on"},
      {"went-quiet", "login-item", "Brindle no longer opens at login"},
      {"went-quiet", "moon", "Brindle went quiet: it has stopped checking in"},
      {"new", "", "Something happened on it"},
  };
  OtherDeviceNotice notice;
  for (const auto& [kind, detail, title] : rows) {
    notice.notice.kind = kind;
    notice.notice.source = notice.notice.reason = detail;
    notice.notice.silenced = std::string_view(kind) == "went-quiet";
    EXPECT_EQ(notice.title(), title);
  }
  notice.notice.kind = "went-quiet";
  notice.notice.minutes = 25;
  EXPECT_EQ(notice.title(), "Brindle went quiet: it hasn't checked in for about 25 minutes");
  notice.notice.kind = "unlock";
  notice.notice.silenced = true;
  EXPECT_EQ(notice.title(), "Someone unlocked it, then Brindle stopped responding");
  EXPECT_EQ(notice.device(), "One of your devices");
}

TEST_F(PushSyncTest, TheTokenIsRegisteredOncePerAccountAndWithdrawnWhenSwitchedOff) {
  push.setToken("T1");
  scheduler.run();
  const std::string registered =
      "register {\"deviceId\":\"DEVICE\",\"token\":\"T1\",\"platform\":\"macos\","
      "\"deviceName\":\"Testing Machine\"}\n";
  EXPECT_EQ(came(), registered);
  EXPECT_EQ(preferences.text("push.registeredToken"), "T1");
  EXPECT_TRUE(preferences.real("push.registeredAt"));
  launch();
  EXPECT_EQ(came(), "") << "nothing changed";
  account.signIn("adam");
  scheduler.run();
  EXPECT_EQ(came(), registered);
  EXPECT_TRUE(sync->setOn(false));
  scheduler.run();
  EXPECT_EQ(came(), "unregister {\"deviceId\":\"DEVICE\"}\n");
  EXPECT_FALSE(preferences.text("push.registeredToken") || preferences.real("push.registeredAt"));
  notify({"unlock", {}, {}, {}});
  EXPECT_EQ(came(), "");
  service.once("api/push/register", {.status = 503});
  service.once("api/push/register", {.status = 403});
  EXPECT_TRUE(sync->setOn(true));
  scheduler.advance(1h);
  EXPECT_EQ(came(), registered + registered) << "refused: not asked again";
}

TEST_F(PushSyncTest, ANoticeIsSentInOrderAndGivenUpAfterAWhile) {
  service.always("api/push/notify", {.status = 500});
  notify({"watched-file", "Di\"ary", {}, {}});
  notify({"turned-on", {}, "owner", {}});
  const std::string opened =
      "notify {\"kind\":\"watched-file\",\"device\":\"Testing Machine\",\"platform\":\"macos\","
      "\"targetName\":\"Di\\\"ary\"}\n";
  service.usual("api/push/notify");
  scheduler.advance(2s);
  EXPECT_EQ(came(), opened + opened +
                        "notify {\"kind\":\"turned-on\",\"device\":\"Testing Machine\","
                        "\"platform\":\"macos\",\"source\":\"owner\"}\n");
  service.setReachable(false);
  notify({"unlock", {}, {}, {}});
  scheduler.advance(1h);
  service.setReachable(true);
  sync->hurry();
  scheduler.run();
  EXPECT_EQ(came(), "") << "old news";
  account.lock("eva");
  notify({"unlock", {}, {}, {}});
  account.signIn("adam");
  scheduler.run();
  EXPECT_EQ(came(), "") << "not for adam";
}

TEST_F(PushSyncTest, WhatArrivesIsShownKeptAndNeverTrusted) {
  receive(R"({"kind":"unlock","device":"Eva's\nlaptop","minutes":"x"})");
  ASSERT_EQ(notifications.shown().size(), 1u);
  EXPECT_EQ(notifications.shown().begin()->second.title, "Someone unlocked it");
  EXPECT_EQ(notifications.shown().begin()->second.body, "Eva's laptop");
  for (const char* message : {"no json", R"({"device":"x"})", R"({"kind":""})"}) receive(message);
  EXPECT_EQ(sync->received().all().size(), 1u);
  receive(R"({"kind":"turn-on"})");
  EXPECT_EQ(turnOns, 1);
  for (int i = 0; i < 100; ++i) receive(R"({"kind":"turned-off"})");
  launch();
  ASSERT_EQ(sync->received().all().size(), 100u);
  EXPECT_EQ(sync->received().all().front().title(), "Brindle was turned off");
  account.signOut();
  receive(R"({"kind":"turn-on"})");
  EXPECT_EQ(turnOns, 1) << "of an account that is not ours any more";
}

}  // namespace
}  // namespace brindle
