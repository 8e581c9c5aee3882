#include "owner/secret_store.h"

#include "owner/fresh_install.h"
#include "owner/secret_texts.h"
#include "testing/owner_fixture.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;
using keychain_code::authFailed;
using keychain_code::io;

class SecretAnswerTest : public OwnerFixture {
 protected:
  std::string text(AnswerSaved outcome) { return std::string(secret_texts::answerSaved(outcome)); }
  Bytes olderRecord(std::string_view secret) {
    Bytes record(16, 7);
    Sha256 digest;
    EXPECT_TRUE(crypto.sha256(std::array<ByteView, 2>{record, viewOf(secret)}, digest));
    record.insert(record.end(), digest.begin(), digest.end());
    return record;
  }
};

class SecretStoreTest : public SecretAnswerTest {
 protected:
  void SetUp() override {
    ASSERT_EQ(savePin("4711", "4711"), PinSaved::saved);
    time.run();
  }
  void lockPin() {
    for (int i = 0; i < 5; ++i) ASSERT_EQ(pin("0815"), CheckOutcome::wrong);
  }
  std::int64_t failures() { return preferences.integer("guard.pin.failures").value_or(0); }
};

TEST(LockTimeTest, GrowsFromTheFifthWrongTryToAnHour) {
  const std::vector<int> expected{0, 0, 0, 0, 0, 60, 120, 240, 480, 960, 1920, 3600, 3600, 3600};
  for (std::size_t n = 0; n < expected.size(); ++n) {
    EXPECT_EQ(lockTime(static_cast<std::int64_t>(n)).count(), expected[n]) << n;
  }
  EXPECT_EQ(lockTime(INT64_MAX).count(), 3600);
}

TEST_F(SecretStoreTest, TheFifthWrongTryLocksAndARightOneStartsOver) {
  for (int i = 0; i < 4; ++i) EXPECT_EQ(check(SecretKind::pin, "0815").secondsLeft, 0);
  EXPECT_EQ(pin("4711"), CheckOutcome::right);
  EXPECT_EQ(failures(), 0);
  lockPin();
  EXPECT_EQ(secrets.secondsLeft(SecretKind::pin), 60);
  EXPECT_EQ(pin("4711"), CheckOutcome::locked);
  EXPECT_EQ(failures(), 5) << "a locked try is not counted";
  time.advance(59001ms);
  EXPECT_EQ(check(SecretKind::pin, "4711").secondsLeft, 1) << "rounded up";
  time.advance(999ms);
  EXPECT_EQ(check(SecretKind::pin, "0815").secondsLeft, 120);
  time.advance(120s);
  EXPECT_EQ(pin("4711"), CheckOutcome::right);
  EXPECT_EQ(failures(), 0);
}

TEST_F(SecretStoreTest, SettingTheClockNeverShortensALockWithinOneBoot) {
  lockPin();
  time.setWallTime(time.wallTime() + 24h * 365);
  SecretStore relaunched(services());
  EXPECT_EQ(checkIn(relaunched, SecretKind::pin, "4711").secondsLeft, 60);
  time.sleepFor(50s);
  EXPECT_EQ(secrets.secondsLeft(SecretKind::pin), 10) << "sleep counts";
  time.setWallTime(time.wallTime() - 2 * 24h * 365);
  EXPECT_GT(secrets.secondsLeft(SecretKind::pin), 364 * 86400);
}

TEST_F(SecretStoreTest, AfterARestartOnlyTheWallClockCounts) {
  lockPin();
  time.advance(10s);
  clock.reboot("another boot");
  SecretStore relaunched(services());
  EXPECT_EQ(relaunched.secondsLeft(SecretKind::pin), 50);
  time.setWallTime(time.wallTime() + 1h);
  EXPECT_EQ(relaunched.secondsLeft(SecretKind::pin), 0);
  EXPECT_EQ(checkIn(relaunched, SecretKind::pin, "0815").secondsLeft, 120) << "the count stays";
}

TEST_F(SecretStoreTest, ACountThatCannotBeStoredLocksAtOnce) {
  preferences.setFailing(true);
  EXPECT_EQ(check(SecretKind::pin, "0815").secondsLeft, 60);
  EXPECT_TRUE(lines.has("guard.pin.failures not stored: locked at once"));
  time.advance(60s);
  preferences.setFailing(false);
  EXPECT_EQ(pin("0815"), CheckOutcome::wrong);
  EXPECT_EQ(failures(), 2) << "both tries are on disk now";
  preferences.setFailing(true);
  EXPECT_EQ(pin("4711"), CheckOutcome::right);
  EXPECT_TRUE(lines.has("guard.pin.failures not cleared: kept on disk"));
}

TEST_F(SecretStoreTest, WhatCannotBeReadIsNeitherCountedNorCleared) {
  ASSERT_EQ(pin("0815"), CheckOutcome::wrong);
  keychain.setDenied(true);
  const SecretCheck refused = check(SecretKind::pin, "4711");
  EXPECT_EQ(refused.outcome, CheckOutcome::unreadable);
  EXPECT_EQ(refused.keychainCode, authFailed);
  EXPECT_EQ(secrets.states().pin, SecretState::unreadable);
  keychain.setDenied(false);
  crypto.setFailing(true);
  EXPECT_EQ(pin("0815"), CheckOutcome::unreadable);
  EXPECT_EQ(failures(), 1);
}

TEST_F(SecretStoreTest, ARecordOfTheOlderFormIsReplacedOnceItMatches) {
  const Bytes older = olderRecord("4711");
  put("guard.pin", older);
  EXPECT_EQ(pin("0815"), CheckOutcome::wrong);
  keychain.failNextWrite(io);
  EXPECT_EQ(pin("4711"), CheckOutcome::right);
  EXPECT_TRUE(lines.has("hash upgrade not written: the old record is kept"));
  EXPECT_EQ(stored("guard.pin"), older);
  EXPECT_EQ(pin("4711"), CheckOutcome::right);
  EXPECT_EQ(stored("guard.pin").size(), 49u);
  EXPECT_EQ(stored("guard.pin").front(), 2);
  const auto before = crypto.derivations().size();
  EXPECT_EQ(pin("4711"), CheckOutcome::right);
  ASSERT_EQ(crypto.derivations().size(), before + 1) << "once a try";
  EXPECT_EQ(crypto.derivations().back().iterations, 210000u);

  worker.hold();
  bool told = false;
  secrets.check(SecretKind::pin, SecretText("4711"), [&](SecretCheck) { told = true; });
  time.run();
  EXPECT_FALSE(told);
  EXPECT_EQ(crypto.derivations().size(), before + 1) << "never in the call";
}

TEST_F(SecretStoreTest, APinIsSavedOnlyWhenItIsGoodAndTheOwnerAgrees) {
  const auto text = [](PinSaved outcome) { return std::string(secret_texts::pinSaved(outcome)); };
  EXPECT_EQ(text(savePin("1234", "1234")), "That PIN is too easy to guess. Choose another.");
  EXPECT_EQ(text(savePin("4712", "4713")), "The PINs don't match. Try again.");
  EXPECT_EQ(text(savePin("4712", "4712")), "Enter your Brindle PIN first.");
  keychain.setLocked(true);
  EXPECT_EQ(savePin("4712", "4712"), PinSaved::needsProof) << "a PIN may be there";
  keychain.setLocked(false);
  EXPECT_EQ(pin("4711"), CheckOutcome::right);

  ASSERT_EQ(items.remove("guard.pin"), keychain_code::success);
  keychain.failNextWrite(io);
  EXPECT_EQ(text(savePin("4712", "4712")), "Couldn't save your PIN. Try again.");
  lockPin();
  EXPECT_EQ(text(savePin("4712", "4712")), "");
  EXPECT_EQ(pin("4712"), CheckOutcome::right) << "tries of another PIN lock no new one";
  EXPECT_EQ(preferences.boolean(onboardedKey), true);
}

TEST_F(SecretStoreTest, WithoutAProofNothingIsSavedWhileOnAndAnUnreadablePinOnlyReplacedOnRequest) {
  enum { readable, unreadable, gone };
  const struct {
    SecretStore::Standing standing;
    int record;
    PinSaved outcome;
  } rows[] = {{{.replacingUnreadablePIN = true}, readable, PinSaved::needsProof},
              {{}, unreadable, PinSaved::needsProof},
              {{.guardOn = true, .replacingUnreadablePIN = true}, unreadable, PinSaved::needsProof},
              {{.guardOn = true}, gone, PinSaved::needsProof},
              {{}, gone, PinSaved::saved},
              {{.replacingUnreadablePIN = true}, unreadable, PinSaved::saved}};
  SecretStore::Standing standing;
  auto with = services();
  with.standing = [&] { return standing; };
  SecretStore store(std::move(with));
  for (const auto& row : rows) {
    standing = row.standing;
    if (row.record == gone) items.remove("guard.pin");
    keychain.failNextRead(row.record == unreadable ? authFailed : 0);
    const bool replaced = row.record == unreadable && row.outcome == PinSaved::saved;
    keychain.failNextWrite(replaced ? io : 0);
    const auto outcome = told<PinSaved>(PinSaved::failed, [&](auto done) {
      store.savePin(SecretText("4712"), SecretText("4712"), nullptr, done);
    });
    EXPECT_EQ(outcome, row.outcome) << &row - rows;
  }
  EXPECT_TRUE(lines.has("pin replaced: the record before it could not be read (-25293)"));
  EXPECT_EQ(pin("4712"), CheckOutcome::right) << "deleted and written anew";
}

TEST_F(SecretAnswerTest, IsSavedWithItsQuestionAndRecognisedHoweverItIsTyped) {
  EXPECT_EQ(text(saveAnswer("Who", "x", "x")), "The answer is too short.");
  EXPECT_EQ(text(saveAnswer(" W\n", "Élise", "Élise")), "Write a question first.");
  EXPECT_EQ(text(saveAnswer("Who?", "Élise", "Elsie")), "The answers don't match.");
  EXPECT_EQ(text(saveAnswer(" Who? ", " Élise  Ö", "elise o")), "");
  EXPECT_EQ(textOf(stored("guard.answer.question")), "Who?");
  EXPECT_EQ(secrets.question(), "Who?");
  EXPECT_EQ(answer("ELISE\u00a0o"), CheckOutcome::right);
  EXPECT_EQ(answer("elise"), CheckOutcome::wrong);
  EXPECT_EQ(savePin("4711", "4711"), PinSaved::saved);
  EXPECT_EQ(saveAnswer("Who else?", "nobody", "nobody"), AnswerSaved::needsProof);
  SecretStore relaunched(services());
  relaunched.refresh({});
  time.run();
  EXPECT_EQ(relaunched.question(), "Who?");
  EXPECT_EQ(relaunched.states(), (OwnerSecrets::States{SecretState::set, SecretState::set}));
}

TEST_F(SecretAnswerTest, AnAnswerFoldedByItsLocaleMatchesAsOneTry) {
  put("guard.answer", olderRecord("ırmak"));
  EXPECT_EQ(answer("IRMAK"), CheckOutcome::wrong);
  SecretStore turkish(services("tr_TR"));
  EXPECT_EQ(checkIn(turkish, SecretKind::answer, "KIRMAK").outcome, CheckOutcome::wrong);
  EXPECT_EQ(preferences.integer("guard.answer.failures"), 2);
  EXPECT_EQ(checkIn(turkish, SecretKind::answer, "IRMAK").outcome, CheckOutcome::right);
}

TEST_F(SecretAnswerTest, AFailedSaveLeavesQuestionAndAnswerAsTheyWere) {
  const auto save = [&](std::string question, std::deque<int> codes) {
    keychain.failWrites(std::move(codes));
    return text(saveAnswer(std::move(question), "fine", "fine"));
  };
  const std::string line = "answer not saved, and the question before it not put back";

  EXPECT_EQ(save("First?", {0, io}), "Couldn't save it. Try again.");
  EXPECT_EQ(keychain.items(here), 0u) << "the question went with its answer";
  ASSERT_EQ(saveAnswer("Who?", "Elise", "Elise"), AnswerSaved::saved);
  EXPECT_EQ(save("Second?", {0, io}), "Couldn't save it. Try again.");
  EXPECT_EQ(textOf(stored("guard.answer.question")), "Who?");
  EXPECT_FALSE(lines.has(line));
  EXPECT_EQ(save("Third?", {0, io, io}), "Couldn't save it. Try again.");
  EXPECT_TRUE(lines.has(line));
}

TEST_F(SecretAnswerTest, StatesAreToldWhenTheyChangeAndTheOwnerIsWarnedBeforeTheSystemAsks) {
  EXPECT_FALSE(secrets.keychainMayAsk()) << "nobody was ever here";
  ASSERT_TRUE(preferences.set(onboardedKey, true));
  EXPECT_TRUE(secrets.keychainMayAsk());
  EXPECT_EQ(secret_texts::keychainWillAsk(),
            "An earlier version of Brindle kept them in your Mac's keychain. Your Mac will ask, "
            "maybe more than once, whether Brindle can use them.");
  int told = 0;
  const Subscription subscription = secrets.onChange([&](OwnerSecrets::States) { ++told; });
  EXPECT_EQ(refreshed(), (OwnerSecrets::States{SecretState::notSet, SecretState::notSet}));
  EXPECT_FALSE(secrets.keychainMayAsk());
  refreshed();
  EXPECT_EQ(told, 1);
  keychain.setGone(true);
  EXPECT_EQ(refreshed(), (OwnerSecrets::States{SecretState::unreadable, SecretState::unreadable}));
  EXPECT_EQ(secrets.unreadableCode(), keychain_code::notAvailable);
  EXPECT_EQ(told, 2);
}

}  // namespace
}  // namespace brindle
