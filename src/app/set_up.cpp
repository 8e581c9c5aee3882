#include "app/set_up.h"

#include "owner/secret_texts.h"

namespace brindle {

SetUp::SetUp(BrindleMacApp& app, CommandHandler::RequestRef request, const OwnerProof* proof,
             CommandHandler::Done done)
    : app_(app),
      request_(std::move(request)),
      proof_(proof ? std::optional(*proof) : std::nullopt),
      done_(std::move(done)) {}

void SetUp::run(BrindleMacApp& app, CommandHandler::RequestRef request, const OwnerProof* proof,
                CommandHandler::Done done) {
  std::shared_ptr<SetUp>(new SetUp(app, std::move(request), proof, std::move(done)))->go(0);
}

void SetUp::go(int step) {
  const Next next = [self = shared_from_this(), step](std::string_view problem) {
    if (problem.empty()) return self->go(step + 1);
    self->done_(
        {.text = self->saved_ + std::string(problem) + "\n", .exitCode = exit_code::failed});
  };
  // The PIN comes last of the two: once it is set, an answer without a proof is refused.
  if (step == 0) return saveAnswer(next);
  if (step == 1) return savePin(next);
  if (step == 2) return saveAlertDelay(next);
  if (step == 3) return chooseStart(next);
  done_({.text = saved_, .exitCode = exit_code::done});
}

SecretText SetUp::secret(std::string_view name) const {
  const SecretText* text = request_->secret(name);
  return text ? text->duplicate() : SecretText();
}

void SetUp::savePin(Next next) {
  if (!request_->secret("pin")) return next({});
  app_.secrets().savePin(secret("pin"), secret("pinRepeat"), proof(),
                         [this, next = std::move(next)](PinSaved saved) {
                           if (saved == PinSaved::saved) saved_ += "The PIN is saved.\n";
                           next(secret_texts::pinSaved(saved));
                         });
}

void SetUp::saveAnswer(Next next) {
  if (!request_->secret("answer")) return next({});
  app_.secrets().saveAnswer(request_->question.value_or(""), secret("answer"),
                            secret("answerRepeat"), proof(),
                            [this, next = std::move(next)](AnswerSaved saved) {
                              if (saved == AnswerSaved::saved)
                                saved_ += "The question and its answer are saved.\n";
                              next(secret_texts::answerSaved(saved));
                            });
}

void SetUp::saveAlertDelay(Next next) {
  const auto delay = request_->alertDelay;
  if (!delay) return next({});
  if (!app_.store().setAlertDelay(*delay, proof())) {
    return next("The alert delay was not saved: it is 0 to " +
                std::to_string(NightjarStore::longestAlertDelay) + " seconds.");
  }
  saved_ += "The alert delay is " + std::to_string(*delay) + " s.\n";
  next({});
}

void SetUp::chooseStart(Next next) {
  if (!request_->startAtLogin) return next({});
  if (const auto chosen = app_.startAtLogin().choose(*request_->startAtLogin); !chosen) {
    return next(chosen.error());
  }
  saved_ +=
      *request_->startAtLogin ? "Brindle starts at login.\n" : "Brindle does not start at login.\n";
  next({});
}

}  // namespace brindle
