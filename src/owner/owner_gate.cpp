#include "owner/owner_gate.h"

#include <utility>

#include "owner/secret_store.h"
#include "owner/secret_texts.h"

namespace brindle {
namespace {

using Outcome = GateAnswer::Outcome;

constexpr auto longestWaitForDisk = std::chrono::seconds(2);

Outcome outcomeOf(CheckOutcome outcome) {
  switch (outcome) {
    case CheckOutcome::locked:
      return Outcome::locked;
    case CheckOutcome::right:
      return Outcome::right;
    case CheckOutcome::wrong:
      return Outcome::wrong;
    case CheckOutcome::unreadable:
      return Outcome::unreadable;
    case CheckOutcome::busy:
      return Outcome::busy;
  }
  return Outcome::busy;
}

std::string messageFor(WrongTry which, const SecretCheck& check, bool unreadableBefore) {
  const bool pin = which == WrongTry::pin;
  switch (check.outcome) {
    case CheckOutcome::locked:
      return secret_texts::locked(which, check.secondsLeft);
    case CheckOutcome::right:
      return {};
    case CheckOutcome::wrong:
      return std::string(secret_texts::wrong(which));
    case CheckOutcome::unreadable:
      return unreadableBefore ? secret_texts::stillUnreadable(check.keychainCode)
                              : secret_texts::unreadable({.pin = pin, .answer = !pin});
    case CheckOutcome::busy:
      return "Too many tries at once. Try again.";
  }
  return {};
}

}  // namespace

std::string_view gateHeading(OwnerPurpose purpose) {
  switch (purpose) {
    case OwnerPurpose::confirmUnlock:
      return "Confirm that it was you.";
    case OwnerPurpose::turnOff:
      return "Confirm that it's you to turn Brindle off.";
    case OwnerPurpose::history:
      return "Confirm that it's you to see the history.";
    case OwnerPurpose::action:
      return "Confirm that it's you to go on.";
    case OwnerPurpose::quit:
      return "Confirm that it's you to quit Brindle.";
    case OwnerPurpose::alarm:
      return "Confirm that it's you to stop the alarm.";
  }
  return {};
}

OwnerGate::OwnerGate(SecretStore& secrets, ProofSink& sink, FingerprintCheck& fingerprint,
                     Scheduler& scheduler)
    : secrets_(secrets), sink_(sink), fingerprint_(fingerprint), scheduler_(scheduler) {}

std::unique_ptr<GateSitting> OwnerGate::open(OwnerPurpose purpose) {
  return std::make_unique<GateSitting>(*this, purpose);
}

std::optional<OwnerProof> OwnerGate::keptProof(OwnerPurpose purpose) const {
  if (!sink_.ownerProved()) return std::nullopt;
  return OwnerProof(purpose, lastKind_);
}

void OwnerGate::accept(GateAnswer& answer, OwnerPurpose purpose, ProofKind kind,
                       std::uint64_t sitting) {
  // The keychain may have kept the try waiting for long: somebody else may sit here by now.
  if (sitting != sink_.sitting()) {
    answer.outcome = Outcome::overtaken;
    answer.message = "The screen was locked meanwhile. Try again.";
    return;
  }
  lastKind_ = kind;
  answer.outcome = Outcome::right;
  answer.proof = OwnerProof(purpose, kind);
  sink_.proved(*answer.proof);
}

void OwnerGate::onceRecorded(Task answer) {
  const std::uint64_t id = ++lastWaiting_;
  waiting_[id] = {std::move(answer),
                  scheduler_.after(longestWaitForDisk, [this, id] { answerNow(id); })};
  sink_.whenRecorded(lifetime_.guard([this, id] { answerNow(id); }));
}

void OwnerGate::answerNow(std::uint64_t id) {
  if (auto waiting = waiting_.extract(id)) waiting.mapped().answer();
}

GateSitting::GateSitting(OwnerGate& gate, OwnerPurpose purpose) : gate_(gate), purpose_(purpose) {
  gate_.sink_.ownerCheckOpened();
}

GateSitting::~GateSitting() { gate_.sink_.ownerCheckClosed(); }

std::string_view GateSitting::heading() const { return gateHeading(purpose_); }

bool GateSitting::fingerprintOffered() const { return gate_.fingerprint_.offered(); }

std::string GateSitting::question() const {
  return answerOpen_ ? gate_.secrets_.question() : std::string();
}

int GateSitting::secondsLeft(WrongTry which) const { return gate_.secrets_.secondsLeft(which); }

void GateSitting::tryPin(SecretText entered, Done done) {
  tryWith(WrongTry::pin, std::move(entered), std::move(done));
}

void GateSitting::tryAnswer(SecretText entered, Done done) {
  if (answerOpen_) return tryWith(WrongTry::answer, std::move(entered), std::move(done));
  GateAnswer answer;
  answer.outcome = Outcome::pinFirst;
  answer.message = secret_texts::pinFirst();
  gate_.scheduler_.post(lifetime_.guard([answer, done = std::move(done)] { done(answer); }));
}

void GateSitting::used() { gate_.sink_.ownerCheckUsed(); }

void GateSitting::tryWith(WrongTry which, SecretText entered, Done done) {
  used();
  // Telling the sink of a proof may close this sitting: whoever opened it then hears no more.
  auto settle = lifetime_.guard(
      [this, which, begun = gate_.sink_.sitting(), tell = lifetime_.guard(std::move(done))](
          const SecretCheck& check) mutable { tell(answerFor(which, check, begun)); });
  auto judged = [&gate = gate_, which,
                 settle = std::move(settle)](const SecretCheck& check) mutable {
    // Before the sitting hears of it, and whether or not it still can.
    if (check.outcome != CheckOutcome::wrong) return settle(check);
    gate.sink_.wrongTry(which);
    gate.onceRecorded([settle, check]() mutable { settle(check); });
  };
  gate_.secrets_.check(which, std::move(entered), gate_.lifetime_.guard(std::move(judged)));
}

GateAnswer GateSitting::answerFor(WrongTry which, const SecretCheck& check, std::uint64_t begun) {
  GateAnswer answer;
  answer.outcome = outcomeOf(check.outcome);
  answer.message = messageFor(which, check, unreadableBefore_);
  answer.secondsLeft = check.secondsLeft;
  unreadableBefore_ = check.outcome == CheckOutcome::unreadable;
  const bool refused = answer.outcome == Outcome::wrong || answer.outcome == Outcome::locked;
  if (which == WrongTry::pin && refused) answerOpen_ = true;
  if (answer.outcome == Outcome::right) {
    const bool pin = which == WrongTry::pin;
    gate_.accept(answer, purpose_, pin ? ProofKind::pin : ProofKind::answer, begun);
  }
  return answer;
}

void GateSitting::tryFingerprint(Done done) {
  using Answer = FingerprintCheck::Answer;
  auto settle = lifetime_.guard([this, begun = gate_.sink_.sitting(),
                                 tell = lifetime_.guard(std::move(done))](Answer given) mutable {
    tell(answerFor(given, begun));
  });
  if (fingerprintOffered())
    return gate_.fingerprint_.ask(std::string(heading()), std::move(settle));
  gate_.scheduler_.post([settle = std::move(settle)]() mutable { settle(Answer::notOffered); });
}

GateAnswer GateSitting::answerFor(FingerprintCheck::Answer given, std::uint64_t begun) {
  GateAnswer answer;
  switch (given) {
    case FingerprintCheck::Answer::right:
      gate_.accept(answer, purpose_, ProofKind::fingerprint, begun);
      break;
    case FingerprintCheck::Answer::refused:
      answer.outcome = Outcome::refused;
      answer.message = "That fingerprint wasn't recognised. Enter your Brindle PIN.";
      break;
    case FingerprintCheck::Answer::notOffered:
      answer.outcome = Outcome::notOffered;
      answer.message = "This computer offers no fingerprint check.";
      break;
  }
  return answer;
}

}  // namespace brindle
