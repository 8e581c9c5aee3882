#include "app/service_commands.h"

#include "testing/app_fixture.h"

namespace brindle {
namespace {

class ServiceCommandsTest : public AppFixture {
 protected:
  Reply ask(const std::string& name, const std::string& target = {}, const std::string& value = {},
            bool proving = false) {
    return command({.command = name, .target = target, .value = value},
                   proving ? tries({{"pin", pin}}) : std::vector<Request>());
  }
  void signIn() {
    ask("terms", "agree");
    ask("account", "sign-in-email", "owner@example.org");
    const std::string_view asked = scripted.to("api/verify-start").back()->text();
    const std::size_t state = asked.find("\"state\":\"") + 9;
    devices.links.open("brindle://signin?code=1&state=" +
                       std::string(asked.substr(state, asked.find('"', state) - state)));
    runUntil([this] { return app.alertService().account().status().state == "session"; });
  }
};

TEST_F(ServiceCommandsTest, TermsThenALinkThenSignedIn) {
  EXPECT_EQ(ask("account").text, "Nobody is signed in.\n");
  EXPECT_EQ(ask("account", "sign-in-email", "owner@example.org").text,
            "Brindle's terms have changed. Agree to the new terms, then try again.\n");
  EXPECT_NE(ask("terms").text.find("You have not agreed"), std::string::npos);
  EXPECT_NE(ask("terms", "agree").text.find("You have agreed"), std::string::npos);
  EXPECT_EQ(ask("account", "sign-in-email", "owner@example.org").text,
            "A link was sent to that address. Open it on this machine.\n");
  EXPECT_EQ(ask("account").text,
            "A sign-in link was sent to owner@example.org. Open it on this machine.\n");
  EXPECT_EQ(ask("open", "", "brindle://x").exitCode, exit_code::failed) << "no desktop here";
  signIn();
  EXPECT_EQ(ask("account").text, "Signed in as owner@example.org (Email).\n");
  EXPECT_EQ(ask("account", "sign-out").text, "Signed out.\n");
  EXPECT_EQ(ask("account", "delete").exitCode, exit_code::failed);
}

TEST_F(ServiceCommandsTest, WhatIsOwedIsSaidWithItsReason) {
  signIn();
  choosePin();
  EXPECT_EQ(ask("outbox").text, "Nothing is owed to the alert service.\n");
  scripted.setReachable(false);
  ask("on");
  const std::string owed = ask("outbox").text;
  EXPECT_NE(owed.find("beat"), std::string::npos) << owed;
  EXPECT_NE(owed.find("sent 2 times"), std::string::npos) << owed;
  const std::string status = ask("status").text;
  for (const char* line :
       {"Signed in as owner@example.org (Email).", "Brindle is on: checking in every few minutes",
        "Owed to the alert service: 1 (brindle outbox)"}) {
    EXPECT_NE(status.find(line), std::string::npos) << status;
  }
  const std::string json = command({.command = "status", .json = true}).text;
  EXPECT_NE(json.find("\"email\":\"owner@example.org\""), std::string::npos) << json;
  EXPECT_NE(json.find("\"owed\":1"), std::string::npos) << json;
}

TEST_F(ServiceCommandsTest, WhoHearsOfUnlocksIsTheOwnersToSay) {
  choosePin();
  const std::pair<const char*, const char*> guarded[] = {{"account", "sign-in-email"},
                                                         {"account", "sign-out"},
                                                         {"account", "delete"},
                                                         {"alerts", "off"},
                                                         {"backstop", "off"},
                                                         {"other-devices", "off"},
                                                         {"notices", ""}};
  for (const auto& [name, target] : guarded) {
    EXPECT_EQ(ask(name, target).type, Reply::Type::proof) << name << target;
  }
  for (const char* name : {"account", "terms", "outbox"}) {
    EXPECT_EQ(ask(name).type, Reply::Type::done) << name;
  }
  EXPECT_EQ(ask("alerts", "off", "", true).text, "E-mail alerts are off.\n");
  EXPECT_FALSE(app.alertService().alerts().wantsAlerts());
  EXPECT_EQ(ask("backstop", "off", "", true).text, "The backstop is off.\n");
  EXPECT_FALSE(app.alertService().watch().status().backstop);
  EXPECT_EQ(ask("other-devices", "off", "", true).text, "Notices between your devices are off.\n");
  EXPECT_EQ(ask("notices", "", "", true).text, "No other device has told anything.\n");
  ask("on");
  EXPECT_EQ(ask("terms", "agree").type, Reply::Type::proof) << "while on";
}

}  // namespace
}  // namespace brindle
