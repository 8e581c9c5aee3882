#include "vault/vault_keys.h"

#include <gtest/gtest.h>

#include <map>

#include "platform/memory/browser_memory.h"
#include "platform/memory/crypto_memory.h"
#include "testing/service_world.h"
#include "vault/org_sharing.h"
#include "vault/vault_setup.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

class VaultKeysTest : public ::testing::Test {
 protected:
  VaultKeysTest() {
    vault.owner = {org(1).keyId, org(1).publicKey};
    vault.orgs = {org(2, "Acme"), org(3, "Bolt")};
    vault.pending = {org(4, "Crane")};
    launch();
  }
  void launch() {
    set = std::make_unique<VaultKeySet>(VaultKeySet::Parts{
        world.scheduler, world.client, world.account, world.preferences, seal, log});
    sharing = std::make_unique<OrgSharing>(
        OrgSharing::Parts{world.scheduler, world.client, world.account, *set, log});
  }
  ScriptedVault::Organisation org(std::uint8_t number, const std::string& name = {}) {
    SecretKey secret;
    secret.bytes[31] = number;
    P256Public key;
    EXPECT_TRUE(crypto.p256Public(secret, key));
    numbers[base64url(key)] = std::to_string(number);
    return {seal.organisationIdentifier(key), name, seal.keyIdentifier(key), base64url(key)};
  }
  std::string recipients() {
    std::string all;
    for (const Bytes& each : set->recipients()) all += numbers[base64url(each)];
    return all;
  }
  /// What the person was told; "…" while that is nothing.
  std::string outcome() {
    world.scheduler.run();
    return std::exchange(told, "…");
  }
  std::string refresh() {
    set->refresh([this](const std::string& message) { told = message; });
    return outcome();
  }
  std::string lookUp(const std::string& code) {
    sharing->lookUp(code, [this](const auto& got) { told = got ? got->name : got.error(); });
    return outcome();
  }
  std::string join(const std::string& code) {
    sharing->join(code, "Eva's Mac", [this](const auto& got) {
      told = got ? got->name + (got->joined() ? " joined" : " waits") : got.error();
    });
    return outcome();
  }

  ServiceWorld world;
  Log log{world.lines};
  ScriptedVault& vault = world.service.vault;
  MemoryCrypto crypto;
  VaultCrypto seal{crypto, world.random};
  std::map<std::string, std::string> numbers;  ///< by key
  std::unique_ptr<VaultKeySet> set;
  std::unique_ptr<OrgSharing> sharing;
  std::string told = "…";
};

TEST_F(VaultKeysTest, ReadingIsLenientWhereTheChecksDoNotLook) {
  const auto keys = readKeys(
      R"({"vault":null,"orgs":[{"name":"A\nB","joinedAt":"2026-11-14T21:56:32.125+01:00","x":1}],
      "pending":[{"requestedAt":"2026-11-14T20:56:32Z","expiresAt":816382592.9},
      {"requestedAt":"2026-11-14T20:56:32.Z"},5],"retentionDays":"x","email":[]})");
  EXPECT_EQ(
      keysJson(keys.value()),
      R"({"orgs":[{"orgId":"","name":"A B","keyId":"","publicKey":"","joinedAt":"2026-11-14T20:56:32Z"}],)"
      R"("pending":[{"orgId":"","name":"","requestedAt":"2026-11-14T20:56:32Z","expiresAt":"2026-11-14T20:56:32Z"},)"
      R"({"orgId":"","name":"","requestedAt":"1970-01-01T00:00:00Z","expiresAt":"1970-01-01T00:00:00Z"}],)"
      R"("retentionDays":0,"email":"","fetchedAt":"1970-01-01T00:00:00Z"})");
  for (const char* other : {"", "[]", "{}", R"({"error":"x"})", R"({"orgs":5})"}) {
    EXPECT_EQ(readKeys(other), std::nullopt) << other;
  }
}

TEST_F(VaultKeysTest, OneKeyThatIsNotTheNamedOneRefusesTheWholeSet) {
  const Keys good = *readKeys(vault.keysBody("eva"));
  EXPECT_TRUE(keysFit(seal, good));
  EXPECT_EQ(readKeys(keysJson(good)), good);
  const std::map<std::string, std::function<void(Keys&)>> swaps = {
      {"owner's key", [&](Keys& keys) { keys.vault->publicKey = org(9).publicKey; }},
      {"owner's key id", [&](Keys& keys) { keys.vault->keyId = org(9).keyId; }},
      {"no key", [&](Keys& keys) { keys.vault.emplace(); }},
      {"organisation's key id", [&](Keys& keys) { keys.orgs[1].keyId = org(9).keyId; }},
      {"organisation's id", [&](Keys& keys) { keys.orgs[1].orgId = org(9).orgId; }},
      {"another's key under the right id", [&](Keys& keys) {
         keys.orgs[1].publicKey = org(9).publicKey;
         keys.orgs[1].keyId = org(9).keyId;
       }}};
  for (const auto& [name, swap] : swaps) {
    Keys keys = good;
    swap(keys);
    EXPECT_FALSE(keysFit(seal, keys)) << name;
  }
}

TEST_F(VaultKeysTest, AGoodSetIsKeptAndABadOneChangesNothing) {
  ASSERT_TRUE(world.preferences.set("vault.setupStarted", true));
  EXPECT_EQ(refresh(), "");
  EXPECT_FALSE(set->setupStarted());
  EXPECT_TRUE(
      world.lines.has("vault keys: fetched, 3 recipients, others than before true, kept true"));
  vault.owner->second = org(9).publicKey;
  EXPECT_EQ(refresh(), "Something went wrong. Try again.");
  EXPECT_TRUE(world.lines.has("vault keys: refused, a key isn't the one its identifiers name"));
  world.service.once("api/vault/keys", {.status = 503});
  EXPECT_EQ(refresh(), "The web vault isn't available right now. Try again in a little while.");
  EXPECT_TRUE(world.lines.has("vault keys: not fetched, HTTP 503"));
  launch();
  EXPECT_EQ(recipients(), "123") << "kept over a relaunch; who waits gets nothing";

  ASSERT_TRUE(world.preferences.set("vault.keys", vault.keysBody("eva")));
  launch();
  EXPECT_EQ(recipients(), "");
  EXPECT_TRUE(world.lines.has("vault keys: the kept set isn't used, it fails the checks"));
}

TEST_F(VaultKeysTest, ASealingWaitsFiveSecondsForTheOneFetchThatAllShare) {
  int ready = 0;
  const auto prepare = [&] {
    set->beforeSealing([&] { ++ready; });
    world.scheduler.run();
    return std::exchange(ready, 0);
  };
  EXPECT_EQ(prepare(), 1);
  world.scheduler.advance(15min);
  EXPECT_EQ(prepare(), 1);
  EXPECT_EQ(world.service.requests().size(), 1U) << "new enough";
  ASSERT_TRUE(world.preferences.set("vault.setupStarted", true));
  EXPECT_EQ(prepare(), 1);
  world.scheduler.advance(901s);
  world.service.always("api/vault/keys", {.body = R"({"orgs":[]})", .held = true});
  EXPECT_EQ(prepare() + prepare(), 0);
  EXPECT_EQ(refresh(), "…");
  EXPECT_EQ(world.service.requests().size(), 3U);
  world.scheduler.advance(4999ms);
  EXPECT_EQ(ready, 0);
  world.scheduler.advance(1ms);
  EXPECT_EQ(std::exchange(ready, 0), 2);
  EXPECT_EQ(prepare(), 1) << "one fetch is waited for once";
  EXPECT_TRUE(world.lines.has("vault keys: no answer yet, going on with the kept set"));
  EXPECT_EQ(recipients(), "123");
  world.service.release();
  world.scheduler.run();
  EXPECT_EQ(recipients(), "") << "the answer counts when it comes";
}

TEST_F(VaultKeysTest, ASetIsForTheAccountThatItWasFetchedFor) {
  world.service.email = "";
  set->start();
  world.scheduler.sleepFor(30h);
  world.scheduler.run();
  EXPECT_EQ(world.service.requests().size(), 2U) << "daily";
  world.account.signOut();
  EXPECT_EQ(refresh(), "Sign in first.");
  EXPECT_EQ(recipients(), "");
  world.account.lock("EVA");
  EXPECT_EQ(recipients(), "123") << "one address in another spelling";

  world.service.once("api/vault/keys", {.body = vault.keysBody(""), .held = true});
  world.account.signIn("eva");
  world.scheduler.run();
  vault.orgs.clear();
  world.account.signIn("adam");
  world.service.release();
  world.scheduler.run();
  EXPECT_EQ(recipients(), "1") << "eva's came late";
}

TEST_F(VaultKeysTest, OnlyPagesOfTheServiceAreOpened) {
  MemoryBrowser browser(world.scheduler);
  VaultSetup setup({browser, world.preferences, world.client, log});
  EXPECT_TRUE(setup.openSetup({}));
  EXPECT_EQ(browser.pages.at(0), "https://service.test/vault/setup");
  EXPECT_TRUE(world.lines.has("vault setup: page opened, kept true"));
  EXPECT_TRUE(set->setupStarted());
  const auto opens = [&](const std::string& link) {
    return setup.openLink(R"({"url":")" + link + "\"}", {});
  };
  EXPECT_TRUE(opens("https://Service.TEST:443/x?y") && opens("https://service.test#a"));
  for (const char* other : {"http://service.test/", "https://service.test:8443/", "/vault/setup",
                            "https://service.test.evil/", "https://a@service.test/"}) {
    EXPECT_FALSE(opens(other)) << other;
  }
  EXPECT_EQ(browser.pages.size(), 3U);
  EXPECT_TRUE(world.lines.has("vault link: not opened, it isn't at the service"));
}

TEST_F(VaultKeysTest, ACodeIsLookedUpAndJoined) {
  vault.orgs.clear();
  vault.codes = {{"A1", org(2, "Acme")}, {"C1", org(4, "Crane")}};
  vault.codes["C1"].waits = true;
  EXPECT_EQ(lookUp(" A1\n"), "Acme");
  world.service.once("api/vault/keys", {.body = R"({"orgs":[]})", .held = true});
  set->refresh();
  EXPECT_EQ(join("A1 "), "Acme joined");
  world.service.releaseAll();
  EXPECT_EQ(world.service.to("api/vault/org/join").at(0)->text(),
            R"({"code":"A1","deviceName":"Eva's Mac"})");
  EXPECT_EQ(join("C1"), "Crane waits");
  EXPECT_EQ(recipients(), "12") << "or an answer from before the joining";
  EXPECT_TRUE(world.lines.has("vault sharing: join answered, HTTP 200"));
}

TEST_F(VaultKeysTest, EachFailureHasItsWords) {
  const auto answered = [&](int status, const std::string& body) {
    world.service.always("api/vault/org/", {.status = status, .body = body});
    return lookUp("A1");
  };
  const std::string full =
      " has no free places left. Ask its security team to add one, then try again.";
  const std::map<std::pair<int, std::string>, std::string> messages = {
      {{429, "invalid_code"},
       "That code doesn't work. Check it, or ask your security team for a new one."},
      {{401, "org_full"}, "This organisation" + full},
      {{0, "x"}, "Couldn't reach Brindle. Check your connection."},
      {{503, "too_many_orgs"},
       "This Mac already shares with as many organisations as it can. Leave one first."},
      {{401, "x"}, "Your sign-in has expired. Sign out, then sign in again."},
      {{429, "x"}, "Too many tries. Wait a little, then try again."},
      {{503, "x"}, "The web vault isn't available right now. Try again in a little while."},
      {{418, "x"}, "Something went wrong. Try again."}};
  for (const auto& [how, words] : messages) {
    EXPECT_EQ(answered(how.first, R"({"error":")" + how.second + "\"}"), words);
  }
  EXPECT_EQ(answered(200, R"({"orgId":"x"})"), "Something went wrong. Try again.");
  EXPECT_EQ(answered(200, R"({"orgId":"x","name":"Acme"})"), "Acme");
  world.service.always("api/vault/org/join", {.status = 409, .body = R"({"error":"org_full"})"});
  EXPECT_EQ(join("A1"), "Acme" + full);
  EXPECT_EQ(join("B2"), "This organisation" + full) << "another code's name";
}

TEST_F(VaultKeysTest, NothingIsSentForNobodyOrForSomebodyElse) {
  world.account.signOut();
  EXPECT_EQ(lookUp("A1"), "Sign in first.");
  world.account.signIn("eva");
  world.service.once("api/vault/org/lookup", {.held = true});
  EXPECT_EQ(lookUp("A1"), "…");
  EXPECT_EQ(join("A1"), "…");
  world.account.signIn("adam");
  world.service.releaseAll();
  world.scheduler.run();
  EXPECT_EQ(told, "Sign in first.");
  EXPECT_TRUE(world.service.to("api/vault/org/join").empty()) << "one at a time";
}

}  // namespace
}  // namespace brindle
