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
  ScriptedVault::Organisation org(std::uint8_t number, const std::string& name, bool waits) {
    VaultCrypto crypto(devices.crypto, *devices.tools.random);
    SecretKey secret;
    secret.bytes[31] = number;
    P256Public key;
    EXPECT_TRUE(devices.crypto.p256Public(secret, key));
    return {crypto.organisationIdentifier(key), name, crypto.keyIdentifier(key), base64url(key),
            waits};
  }
  Reply vault(const std::string& what, const std::string& value = {},
              std::vector<Request> more = {}) {
    return command({.command = "vault", .target = what, .value = value}, std::move(more));
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
                                                         {"notices", ""},
                                                         {"vault", "off"},
                                                         {"vault", "setup"},
                                                         {"vault", "join"}};
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

TEST_F(ServiceCommandsTest, TheVaultSaysWhatItWaitsFor) {
  EXPECT_EQ(ask("status").text.find("Vault"), std::string::npos);
  EXPECT_EQ(vault("on").text, "The vault is on.\nNobody is signed in, so nothing is uploaded.\n");
  EXPECT_EQ(vault("join", "A1").text, "Sign in first.\n");
  signIn();
  EXPECT_EQ(vault("status").text,
            "The vault is on.\nThere is no vault key yet: brindle vault setup\n");
  devices.browser.problem = "no\x1b[2J display";
  const Reply failed = vault("setup");
  EXPECT_EQ(failed.exitCode, exit_code::failed);
  EXPECT_EQ(failed.text,
            "No browser could be opened (no?[2J display). Open it yourself: "
            "https://service.test/vault/setup\n");
  EXPECT_EQ(devices.browser.pages, std::vector<std::string>{"https://service.test/vault/setup"});
  EXPECT_NE(vault("status").text.find("has not been seen yet"), std::string::npos);
  const auto own = org(1, "", false);
  scripted.vault.owner = {own.keyId, own.publicKey};
  EXPECT_EQ(vault("keys").text.find("Your vault key: " + own.keyId + "\n"), 0u);
  EXPECT_EQ(vault("status").text,
            "The vault is on.\nItems are sealed for your vault key (brindle vault keys).\n");
  EXPECT_NE(ask("status").text.find("\nVault: on\n"), std::string::npos);
  EXPECT_EQ(vault("queue").text, "Nothing waits for the vault.\n");
  scripted.always("api/vault/keys", {.status = 503});
  EXPECT_EQ(vault("keys").text.find("The web vault isn't available right now."), 0u);
  EXPECT_EQ(vault("off").text.find("The vault is off.\n"), 0u);
}

TEST_F(ServiceCommandsTest, JoiningAsksAfterShowingWhoseCodeItIs) {
  signIn();
  scripted.vault.codes = {{"A1", org(2, "Ac\x1b[2Jme", false)}, {"B2", org(3, "Bolt", true)}};
  const auto own = org(1, "", false);
  scripted.vault.owner = {own.keyId, own.publicKey};
  EXPECT_EQ(vault("join", "C3").text,
            "That code doesn't work. Check it, or ask your security team for a new one.\n");
  const Reply waits =
      command({.command = "vault", .target = "join", .value = "B2", .agreed = true});
  EXPECT_EQ(waits.text,
            "Bolt has to accept first, and gets nothing until then.\nThe request ends "
            "2026-11-28T20:00:00Z.\n");
  const Reply shown = vault("join", "A1");
  EXPECT_EQ(shown.type, Reply::Type::ask);
  EXPECT_EQ(shown.text.find("The code is of: Ac [2Jme\n"), 0u) << shown.text;
  EXPECT_EQ(scripted.to("api/vault/org/join").size(), 1u) << "not without a yes";
  choosePin();
  auto both = tries({{"pin", pin}});
  both.push_back({.command = "agree"});
  EXPECT_EQ(vault("join", "A1", std::move(both)).text,
            "Ac [2Jme gets a copy of everything that is sealed from now on.\n");
  const std::string keys = vault("keys").text;
  for (const char* part : {"Copies go to: Ac [2Jme, key ", "Has not accepted yet: Bolt, asked ",
                           ", until 2026-11-28T20:00:00Z", "keeps items for 90 days.\nFetched "}) {
    EXPECT_NE(keys.find(part), std::string::npos) << part << keys;
  }
}

}  // namespace
}  // namespace brindle
