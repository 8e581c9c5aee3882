#include "owner/secret_store.h"

#include <utility>
#include <vector>

#include "owner/answer_rules.h"
#include "owner/fresh_install.h"
#include "owner/pin_rules.h"
#include "owner/secret_work.h"

namespace brindle {
namespace {

// A person makes one try at a time; more than a few in line come from a program.
constexpr std::size_t mostWaiting = 8;

/// The forms under which an entered secret may have been stored, the likely one first.
std::vector<SecretText> candidatesFor(SecretKind which, const SecretText& entered,
                                      const std::string& locale) {
  std::vector<SecretText> candidates;
  if (which == SecretKind::pin) {
    candidates.push_back(entered.duplicate());
    return candidates;
  }
  candidates.push_back(normalisedAnswer(entered.view()));
  SecretText localised = normalisedAnswer(entered.view(), locale);
  if (localised.view() != candidates.front().view()) candidates.push_back(std::move(localised));
  return candidates;
}

}  // namespace

struct SecretStore::Try {
  SecretKind which;
  SecretText entered;
  std::function<void(SecretCheck)> done;
  SecretWork::Judged judged;
};

SecretStore::SecretStore(Services services)
    : services_(std::move(services)),
      work_(std::make_shared<SecretWork>(services_.items, services_.crypto, services_.random,
                                         services_.log)),
      boot_(services_.preferences, services_.bootClock),
      pin_(std::string(secret_names::pin), services_.preferences, services_.scheduler,
           services_.bootClock, boot_, services_.log),
      answer_(std::string(secret_names::answer), services_.preferences, services_.scheduler,
              services_.bootClock, boot_, services_.log) {
  boot_.bootTime();  // the earlier the first look at the clock, the less it can have been set
}

SecretStore::~SecretStore() = default;

Subscription SecretStore::onChange(std::function<void(States)> changed) {
  return listeners_.add(std::move(changed));
}

int SecretStore::secondsLeft(SecretKind which) const { return lockout(which).secondsLeft(); }

bool SecretStore::keychainMayAsk() const {
  return services_.preferences.boolean(onboardedKey).value_or(false) && services_.items.mayAsk();
}

bool SecretStore::enqueue(Operation operation) {
  if (waiting_.size() >= mostWaiting) return false;
  waiting_.push_back(std::move(operation));
  if (!running_) startNext();
  return true;
}

void SecretStore::startNext() {
  if (running_ || waiting_.empty()) return;
  running_ = true;
  const Operation next = std::move(waiting_.front());
  waiting_.pop_front();
  next();
}

void SecretStore::runOnWorker(Task work, std::function<Task()> apply) {
  services_.worker.run(std::move(work),
                       lifetime_.guard([this, apply = std::move(apply)] { finish(apply()); }));
}

void SecretStore::finish(const Task& last) {
  running_ = false;
  startNext();
  last();
}

void SecretStore::refresh(std::function<void(States)> done) {
  const Task tell = [this, done] {
    if (done) done(states_);
  };
  const bool accepted = enqueue([this, tell] {
    auto looked = std::make_shared<SecretWork::Looked>();
    runOnWorker([work = work_, looked] { *looked = work->look(); },
                [this, looked, tell] {
                  question_ = looked->question;
                  if (looked->code != 0) unreadableCode_ = looked->code;
                  publish(looked->states);
                  return tell;
                });
  });
  if (!accepted) services_.scheduler.post(lifetime_.guard(tell));
}

void SecretStore::check(SecretKind which, SecretText entered,
                        std::function<void(SecretCheck)> done) {
  auto attempt = std::make_shared<Try>(which, std::move(entered), std::move(done));
  if (enqueue([this, attempt] { begin(attempt); })) return;
  services_.scheduler.post(lifetime_.guard([attempt] { attempt->done({}); }));
}

/// The lock is looked at when the try's turn comes: those before it may have led to one.
void SecretStore::begin(const std::shared_ptr<Try>& attempt) {
  const auto tell = [attempt](SecretCheck check) {
    return [attempt, check] { attempt->done(check); };
  };
  if (const int left = secondsLeft(attempt->which); left > 0) {
    services_.scheduler.post(lifetime_.guard([this, tell, left] {
      finish(tell({CheckOutcome::locked, left, 0}));
    }));
    return;
  }
  runOnWorker(
      [work = work_, attempt, locale = services_.locale] {
        attempt->judged =
            work->judge(attempt->which, candidatesFor(attempt->which, attempt->entered, locale));
      },
      [this, attempt, tell] { return tell(settle(*attempt)); });
}

SecretCheck SecretStore::settle(const Try& attempt) {
  Lockout& lock = lockout(attempt.which);
  const SecretWork::Judged& judged = attempt.judged;
  if (judged.outcome == CheckOutcome::right) lock.clear();
  if (judged.outcome == CheckOutcome::wrong) lock.countWrong();
  if (judged.outcome == CheckOutcome::unreadable) unreadableCode_ = judged.code;
  publish(attempt.which, judged.record);
  return {judged.outcome, lock.secondsLeft(), judged.code};
}

void SecretStore::savePin(SecretText pin, SecretText repeat, const OwnerProof* proof,
                          std::function<void(PinSaved)> done) {
  PinSaved outcome = PinSaved::saved;
  if (pinTooEasy(pin.view())) {
    outcome = PinSaved::tooEasy;
  } else if (!equalInConstantTime(viewOf(pin.view()), viewOf(repeat.view()))) {
    outcome = PinSaved::repeatDiffers;
  } else if (enqueue([this, pin = std::make_shared<SecretText>(std::move(pin)),
                      proved = proof != nullptr, done] { startPinSave(pin, proved, done); })) {
    return;
  } else {
    outcome = PinSaved::failed;
  }
  services_.scheduler.post(lifetime_.guard([outcome, done] { done(outcome); }));
}

void SecretStore::startPinSave(const std::shared_ptr<SecretText>& pin, bool proved,
                               const std::function<void(PinSaved)>& done) {
  auto outcome = std::make_shared<PinSaved>(PinSaved::failed);
  runOnWorker(
      [work = work_, pin, proved, outcome, now = standing()] {
        if (proved) {
          *outcome = work->savePin(*pin);
        } else if (now.guardOn) {
          *outcome = PinSaved::needsProof;
        } else {
          *outcome = work->savePinUnproved(*pin, now.replacingUnreadablePIN);
        }
      },
      [this, outcome, done]() -> Task {
        if (*outcome == PinSaved::saved) {
          // Guards the PIN against being taken for a leftover; so does the history document.
          static_cast<void>(services_.preferences.set(onboardedKey, true));
          pin_.clear();  // those were tries of another PIN
          publish(SecretKind::pin, SecretState::set);
        }
        return [outcome, done] { done(*outcome); };
      });
}

void SecretStore::saveAnswer(std::string question, SecretText answer, SecretText repeat,
                             const OwnerProof* proof, std::function<void(AnswerSaved)> done) {
  question = trimmedQuestion(question);
  auto folded = std::make_shared<SecretText>(normalisedAnswer(answer.view()));
  AnswerSaved outcome = judgeNewAnswer(question, *folded, normalisedAnswer(repeat.view()));
  if (outcome == AnswerSaved::saved) {
    const bool proved = proof != nullptr;
    if (enqueue([=, this] { startAnswerSave(question, folded, proved, done); })) return;
    outcome = AnswerSaved::failed;
  }
  services_.scheduler.post(lifetime_.guard([outcome, done] { done(outcome); }));
}

void SecretStore::startAnswerSave(const std::string& question,
                                  const std::shared_ptr<SecretText>& answer, bool proved,
                                  const std::function<void(AnswerSaved)>& done) {
  auto outcome = std::make_shared<AnswerSaved>(AnswerSaved::failed);
  runOnWorker(
      [work = work_, question, answer, proved, outcome, on = standing().guardOn] {
        if (!proved && (on || work->pinMayBeSet())) {
          *outcome = AnswerSaved::needsProof;
        } else if (work->saveAnswer(question, *answer)) {
          *outcome = AnswerSaved::saved;
        }
      },
      [this, question, outcome, done]() -> Task {
        if (*outcome == AnswerSaved::saved) {
          question_ = question;
          answer_.clear();
          publish(SecretKind::answer, SecretState::set);
        }
        return [outcome, done] { done(*outcome); };
      });
}

void SecretStore::publish(SecretKind which, SecretState state) {
  States next = states_;
  (which == SecretKind::pin ? next.pin : next.answer) = state;
  publish(next);
}

void SecretStore::publish(States next) {
  if (next == std::exchange(states_, next)) return;
  listeners_.tell(next);
}

}  // namespace brindle
