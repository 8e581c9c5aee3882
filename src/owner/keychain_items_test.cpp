#include "owner/keychain_items.h"

#include "owner/fresh_install.h"
#include "platform/memory/files_memory.h"
#include "testing/owner_fixture.h"

namespace brindle {
namespace {

using namespace keychain_code;

class KeychainItemsTest : public OwnerFixture {};

TEST_F(KeychainItemsTest, BuildsUnderOtherIdentifiersShareNoItem) {
  put("guard.pin", {1});
  KeychainItems other(keychain, marks, Log(lines), "com.example.fork");
  KeychainItems nameless(keychain, marks, Log(lines), "");
  EXPECT_EQ(other.exists("guard.pin"), false);
  EXPECT_EQ(nameless.remove("guard.pin"), itemNotFound);
  EXPECT_EQ(other.write("guard.pin", Bytes{2}), success);
  EXPECT_EQ(nameless.write("session", Bytes{3}, "account"), success);
  EXPECT_EQ(stored("guard.pin"), Bytes{1});
  EXPECT_EQ(stored("guard.pin@com.example.fork"), Bytes{2});
  EXPECT_TRUE(keychain.holds(here, {"session@unnamed", "account"}));
}

TEST_F(KeychainItemsTest, EachFailureIsLoggedWithItsCode) {
  EXPECT_EQ(items.exists("guard.pin"), false);
  EXPECT_TRUE(lines.has("read guard.pin absent: -25300"));
  keychain.setLocked(true);
  EXPECT_EQ(items.exists("guard.pin"), std::nullopt);
  EXPECT_EQ(items.write("guard.pin", Bytes{1}), interactionNotAllowed);
  EXPECT_EQ(items.remove("guard.pin"), interactionNotAllowed);
  EXPECT_TRUE(lines.has("read guard.pin failed: -25308"));
  EXPECT_TRUE(lines.has("write guard.pin failed: -25308"));
  EXPECT_TRUE(lines.has("delete guard.pin failed: -25308"));
  keychain.setLocked(false);
  put("guard.pin", {});
  EXPECT_EQ(items.exists("guard.pin"), std::nullopt) << "an empty item tells nothing";
  EXPECT_TRUE(lines.has("read guard.pin gave no data"));
}

TEST_F(KeychainItemsTest, ItemsOfEarlierVersionsMoveOnce) {
  put("guard.pin", {1}, legacy);
  EXPECT_EQ(items.read("guard.pin").data, Bytes{1});
  EXPECT_EQ(stored("guard.pin"), Bytes{1});
  EXPECT_FALSE(keychain.holds(legacy, item("guard.pin")));
  EXPECT_EQ(items.read("guard.answer").code, itemNotFound);
  EXPECT_TRUE(lines.has("guard.answer absent: -25300, marked moved"));

  time.run();
  EXPECT_EQ(preferences.text("keychain.verified.guard.pin"), "moved");
  EXPECT_EQ(preferences.integer("brindle.asks"), 2);
  KeychainMarks afterRelaunch(preferences, time);
  KeychainItems again(keychain, afterRelaunch, Log(lines), "com.corvane.brindle");
  put("guard.answer", {9}, legacy);
  EXPECT_EQ(again.read("guard.answer").code, itemNotFound);
  EXPECT_TRUE(lines.has("guard.answer not asked: marked moved"));
}

TEST_F(KeychainItemsTest, AMoveThatFailsKeepsTheLegacyItem) {
  put("guard.pin", {1}, legacy);
  const std::string line = "move of guard.pin not completed: the legacy item is kept";
  keychain.failNextWrite(io);
  EXPECT_EQ(items.read("guard.pin").data, Bytes{1}) << "still of use";
  EXPECT_EQ(lines.count(line), 1u);
  EXPECT_TRUE(keychain.holds(legacy, item("guard.pin")));
  keychain.failNextRemove(authFailed);
  EXPECT_EQ(items.read("guard.pin").data, Bytes{1});
  EXPECT_EQ(lines.count(line), 2u);
  EXPECT_EQ(stored("guard.pin"), Bytes{1});
  keychain.setAnswer(legacy, userCanceled);
  EXPECT_EQ(items.read("guard.question").code, userCanceled) << "refused is not absent";
}

TEST_F(KeychainItemsTest, AnOldAnswerIsNotPutBesideANewQuestion) {
  put("guard.answer", {1}, legacy);
  EXPECT_EQ(items.write("guard.answer.question", Bytes{2}), success);
  EXPECT_EQ(items.read("guard.answer").code, itemNotFound);
  EXPECT_TRUE(lines.has(
      "guard.answer not moved: it doesn't pair with the one here, the legacy item is kept"));
  EXPECT_TRUE(keychain.holds(legacy, item("guard.answer")));
}

TEST_F(KeychainItemsTest, AProvisionedBuildNeverFallsBack) {
  keychain.setProvisioned(true);
  put("guard.pin", {1}, legacy);
  keychain.setAnswer(here, missingEntitlement);
  EXPECT_EQ(items.read("guard.pin").code, missingEntitlement);
  EXPECT_TRUE(
      lines.has("data protection keychain answered -34018 in a provisioned build: "
                "its reads are unknown, never the legacy keychain"));
  EXPECT_NE(items.write("guard.pin", Bytes{2}), success);
  EXPECT_NE(items.remove("guard.pin"), success);
  keychain.setAnswer(here, success);
  EXPECT_EQ(items.read("guard.pin").data, Bytes{1}) << "moved once it answers";
  EXPECT_EQ(keychain.items(here), 1u) << "the probe leaves nothing behind";
}

TEST_F(KeychainItemsTest, ABuildWithoutTheEntitlementKeepsToTheLegacyKeychain) {
  EXPECT_EQ(items.read("guard.pin").code, itemNotFound);
  keychain.setAnswer(here, missingEntitlement);
  EXPECT_EQ(items.write("guard.pin", Bytes{2}), success);
  EXPECT_EQ(stored("guard.pin", legacy), Bytes{2});
  time.run();
  KeychainMarks afterRelaunch(preferences, time);
  KeychainItems again(keychain, afterRelaunch, Log(lines), "com.corvane.brindle");
  keychain.setAnswer(here, success);  // without the entitlement, reads may answer just "absent"
  EXPECT_EQ(again.read("guard.pin").data, Bytes{2}) << "looked for once more where it was written";
  EXPECT_EQ(again.remove("guard.pin"), success);
  EXPECT_EQ(keychain.items(legacy), 0u);
}

class FreshInstallTest : public OwnerFixture {
 protected:
  MemoryFiles files;

  void SetUp() override {
    ASSERT_TRUE(files.makeFolder("/data/Brindle/photos"));
    put("guard.pin", {1});
    put("guard.answer", {2}, legacy);
  }
  void launch(std::string_view bundleId = "com.corvane.brindle") {
    KeychainItems own(keychain, marks, Log(lines), std::string(bundleId));
    FreshInstall install(own, preferences, files, worker, Log(lines), "/data/Brindle");
    bool done = false;
    install.run([&] { done = true; });
    time.run();
    EXPECT_TRUE(done);
  }
  std::size_t left() const { return keychain.items(here) + keychain.items(legacy); }
};

TEST_F(FreshInstallTest, LeftoversGoOnTheFirstLaunchOnly) {
  launch();
  EXPECT_EQ(left(), 0u);
  EXPECT_TRUE(lines.has("fresh install: 2 deletes, 1 in the legacy keychain"));
  put("guard.pin", {3});
  launch();
  EXPECT_EQ(left(), 1u) << "chosen since";
}

TEST_F(FreshInstallTest, AFailedDeleteIsTriedAgainUnlessAPinWasChosen) {
  keychain.setLocked(true);
  launch();
  EXPECT_TRUE(lines.has("fresh install: 0 deletes, 0 in the legacy keychain"));
  keychain.setLocked(false);
  ASSERT_TRUE(preferences.set(onboardedKey, true));
  launch();
  EXPECT_EQ(left(), 2u);
  ASSERT_TRUE(preferences.remove(onboardedKey));
  launch();
  EXPECT_EQ(left(), 0u);
}

TEST_F(FreshInstallTest, AnotherBuildDeletesNothing) {
  launch("com.example.fork");
  EXPECT_TRUE(lines.has("fresh install: not the released app, nothing deleted"));
  EXPECT_EQ(left(), 2u);
}

TEST_F(FreshInstallTest, AnyTraceOfAnEarlierLifeKeepsTheSecrets) {
  for (const std::string path :
       {"state.json", "state.partial-20260101-120000.json", "photos/a-0.jpg", "watch-list.json"}) {
    ASSERT_TRUE(files.writeWhole("/data/Brindle/" + path, viewOf("x")));
    launch();
    ASSERT_TRUE(files.remove("/data/Brindle/" + path));
    ASSERT_TRUE(preferences.remove("install.done"));
  }
  preferences.setFailing(true);
  launch();
  preferences.setFailing(false);
  files.failAll({FileError::Kind::denied, 13});
  launch();
  EXPECT_EQ(left(), 2u);
  EXPECT_EQ(lines.size(), 0u);
}

}  // namespace
}  // namespace brindle
