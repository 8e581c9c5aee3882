#include "owner/owner_gate.h"

#include <algorithm>

#include "owner/secret_texts.h"
#include "testing/owner_fixture.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;
using Outcome = GateAnswer::Outcome;

class OwnerGateTest : public OwnerFixture {
 protected:
  void SetUp() override {
    ASSERT_EQ(saveAnswer("Who?", "Élise", "Élise"), AnswerSaved::saved);
    ASSERT_EQ(savePin("4711", "4711"), PinSaved::saved);
    window = gate.open(OwnerPurpose::confirmUnlock);
  }
  GateAnswer tryPin(GateSitting& sitting, std::string_view entered) {
    return told<GateAnswer>({}, [&](auto done) { sitting.tryPin(SecretText(entered), done); });
  }
  GateAnswer tryAnswer(GateSitting& sitting, std::string_view entered) {
    return told<GateAnswer>({}, [&](auto done) { sitting.tryAnswer(SecretText(entered), done); });
  }

  std::unique_ptr<GateSitting> window;
};

TEST_F(OwnerGateTest, ThePinComesFirst) {
  EXPECT_EQ(tryAnswer(*window, "elise").message, "Enter your Brindle PIN first.");
  EXPECT_EQ(window->question(), "");
  EXPECT_TRUE(sink.wrong.empty());
  EXPECT_EQ(preferences.integer("guard.answer.failures"), std::nullopt);
  EXPECT_EQ(tryPin(*window, "0815").message, "Wrong PIN. Photo taken.");
  EXPECT_EQ(window->question(), "Who?");
  EXPECT_FALSE(gate.open(OwnerPurpose::history)->answerOpen()) << "of this sitting";
  EXPECT_EQ(tryAnswer(*window, "nobody").message, "Wrong answer. Photo taken.");
  const GateAnswer right = tryAnswer(*window, " ELISE ");
  EXPECT_EQ(right.outcome, Outcome::right);
  EXPECT_EQ(sink.wrong, (std::vector{WrongTry::pin, WrongTry::answer}));
  ASSERT_EQ(sink.proofs.size(), 1u);
  EXPECT_EQ(sink.proofs[0].purpose(), OwnerPurpose::confirmUnlock);
  EXPECT_EQ(sink.proofs[0].kind(), ProofKind::answer);
  EXPECT_TRUE(right.proof);
}

TEST_F(OwnerGateTest, ALockedProofSaysHowLongAndTakesNoPhoto) {
  for (int i = 0; i < 4; ++i) tryPin(*window, "0815");
  EXPECT_EQ(tryPin(*window, "0815").secondsLeft, 60);
  time.advance(3s);
  const auto socket = gate.open(OwnerPurpose::turnOff);
  EXPECT_EQ(tryPin(*socket, "4711").message, "Too many wrong PINs. Try again in 57 seconds.");
  EXPECT_EQ(sink.wrong.size(), 5u);
  EXPECT_TRUE(socket->answerOpen()) << "a locked PIN opens the answer";
  for (int i = 0; i < 5; ++i) tryAnswer(*socket, "nobody");
  EXPECT_EQ(tryAnswer(*socket, "elise").message,
            "Too many wrong answers. Try again in 60 seconds.");
  EXPECT_EQ(window->secondsLeft(WrongTry::answer), 60);
  EXPECT_TRUE(sink.proofs.empty());
}

TEST_F(OwnerGateTest, TriesAtTheSameTimeShareOneCountAndOneLock) {
  const auto socket = gate.open(OwnerPurpose::turnOff);
  std::vector<Outcome> outcomes;
  worker.hold();
  for (int i = 0; i < 10; ++i) {
    (i % 2 == 0 ? window : socket)
        ->tryPin(SecretText(i == 6 ? "4711" : "0815"),
                 [&](const GateAnswer& answer) { outcomes.push_back(answer.outcome); });
  }
  worker.release();
  time.run();
  ASSERT_EQ(outcomes.size(), 10u);
  EXPECT_EQ(std::ranges::count(outcomes, Outcome::wrong), 5);
  EXPECT_EQ(std::ranges::count(outcomes, Outcome::locked), 4) << "the right one among them";
  EXPECT_EQ(std::ranges::count(outcomes, Outcome::busy), 1) << "too many in line";
  EXPECT_EQ(sink.wrong.size(), 5u);
  EXPECT_EQ(preferences.integer("guard.pin.failures"), 5);
}

TEST_F(OwnerGateTest, AClosedSittingCannotHideAWrongTryNorActOnARightOne) {
  bool told = false;
  const auto tell = [&](const GateAnswer&) { told = true; };
  window->tryPin(SecretText("0815"), tell);
  window.reset();
  time.run();
  EXPECT_EQ(sink.wrong.size(), 1u);
  const auto other = gate.open(OwnerPurpose::turnOff);
  auto gone = gate.open(OwnerPurpose::quit);
  gone->tryPin(SecretText("4711"), tell);
  gone.reset();
  time.run();
  EXPECT_TRUE(sink.proofs.empty());
  EXPECT_EQ(sink.open, 1);
  auto own = gate.open(OwnerPurpose::quit);
  sink.onProved = [&] { own.reset(); };
  own->tryPin(SecretText("4711"), tell);
  time.run();
  EXPECT_EQ(sink.proofs.size(), 1u);
  EXPECT_FALSE(told);
}

TEST_F(OwnerGateTest, ARightTryThatALockOvertookProvesNothing) {
  GateAnswer said;
  worker.hold();
  window->tryPin(SecretText("4711"), [&](GateAnswer answer) { said = std::move(answer); });
  ++sink.locks;
  worker.release();
  time.run();
  EXPECT_EQ(said.message, "The screen was locked meanwhile. Try again.");
  EXPECT_FALSE(said.proof);
  EXPECT_TRUE(sink.proofs.empty() && sink.wrong.empty());
  EXPECT_EQ(tryPin(*window, "4711").outcome, Outcome::right);
}

TEST_F(OwnerGateTest, AWrongTryIsAnsweredOnceRecordedOrAfterABoundedWait) {
  sink.diskWorks = false;
  std::string said;
  window->tryPin(SecretText("1111"), [&](const GateAnswer& answer) { said = answer.message; });
  time.advance(1900ms);
  EXPECT_EQ(sink.wrong.size(), 1u);
  EXPECT_EQ(said, "") << "answered before it was on disk";
  time.advance(100ms);
  EXPECT_EQ(said, "Wrong PIN. Photo taken.");
}

TEST_F(OwnerGateTest, WhatCannotBeReadIsSaidAndSaidAgainWithItsCode) {
  keychain.setLocked(true);
  EXPECT_EQ(
      tryPin(*window, "4711").message,
      "Brindle can't read your PIN right now. Try again and choose Allow when your Mac asks.");
  const GateAnswer again = tryPin(*window, "4711");
  EXPECT_EQ(again.outcome, Outcome::unreadable);
  EXPECT_EQ(again.message, "Still can't read it (code -25308)");
  EXPECT_FALSE(window->answerOpen());
  EXPECT_TRUE(sink.wrong.empty());
  const std::string staysOff =
      " You'd need them to turn Brindle off, so it stays off. "
      "Try again and choose Allow when your Mac asks.";
  EXPECT_EQ(secret_texts::unreadable({.pin = true, .answer = true, .staysOff = true}),
            "Brindle can't read your PIN and secret answer right now." + staysOff);
  EXPECT_EQ(secret_texts::unreadable({.answer = true, .staysOff = true}),
            "Brindle can't read your secret answer right now." + staysOff);
}

TEST_F(OwnerGateTest, AKeptProofServesOtherPurposesUntilTheStoreForgetsIt) {
  EXPECT_FALSE(gate.keptProof(OwnerPurpose::history));
  const GateAnswer right = tryPin(*window, "4711");
  sink.kept = true;
  const auto kept = gate.keptProof(OwnerPurpose::history);
  ASSERT_TRUE(kept && right.proof);
  EXPECT_EQ(kept->purpose(), OwnerPurpose::history);
  EXPECT_EQ(kept->kind(), ProofKind::pin);
  EXPECT_EQ(sink.proofs.size(), 1u) << "nobody is told of it";
  EXPECT_EQ(savePin("4712", "4712", &*kept), PinSaved::saved);
  EXPECT_EQ(pin("4712"), CheckOutcome::right);
}

TEST_F(OwnerGateTest, FingerprintsCountNowhere) {
  struct Reader final : FingerprintCheck {
    bool offered() const override { return true; }
    void ask(const std::string& reason, std::function<void(Answer)> done) override {
      EXPECT_EQ(reason, gateHeading(OwnerPurpose::alarm));
      done(next);
    }
    Answer next = Answer::refused;
  } reader;
  OwnerGate withReader(secrets, sink, reader, time);
  const auto sitting = withReader.open(OwnerPurpose::alarm);
  std::vector<Outcome> outcomes;
  const auto keep = [&](const GateAnswer& answer) { outcomes.push_back(answer.outcome); };
  sitting->tryFingerprint(keep);
  reader.next = FingerprintCheck::Answer::right;
  sitting->tryFingerprint(keep);
  EXPECT_FALSE(window->fingerprintOffered());
  window->tryFingerprint(keep);
  EXPECT_EQ(outcomes.size(), 2u) << "never from inside the call";
  time.run();
  EXPECT_EQ(outcomes, (std::vector{Outcome::refused, Outcome::right, Outcome::notOffered}));
  EXPECT_TRUE(sink.wrong.empty());
  ASSERT_EQ(sink.proofs.size(), 1u);
  EXPECT_EQ(sink.proofs[0].kind(), ProofKind::fingerprint);
}

}  // namespace
}  // namespace brindle
