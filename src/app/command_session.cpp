#include "app/command_session.h"

#include <utility>

namespace brindle {

CommandSession::CommandSession(CommandHandler& handler, OwnerGate& gate,
                               std::function<void(Reply)> send)
    : handler_(handler), gate_(gate), send_(std::move(send)) {}

bool CommandSession::receive(Request request) {
  const bool isTry = request.command == "try";
  if (state_ == State::fresh && !isTry) {
    state_ = State::looking;
    request_ = std::make_shared<const Request>(std::move(request));
    handler_.need(request_,
                  lifetime_.guard([this](CommandHandler::Need need) { needed(std::move(need)); }));
    return true;
  }
  if (state_ == State::asking && request.command == "agree") return agreed(), true;
  if (state_ != State::proving || !isTry || !request.secret(request.target)) return false;
  tryWith(request);
  return true;
}

void CommandSession::needed(CommandHandler::Need need) {
  if (need.refusal) return answered(std::move(*need.refusal));
  if (!need.proof) return run();
  sitting_ = gate_.open(*need.proof);
  state_ = State::proving;
  send_({.type = Reply::Type::proof, .text = std::string(sitting_->heading())});
}

void CommandSession::tryWith(const Request& request) {
  state_ = State::trying;
  auto entered = request.secret(request.target)->duplicate();
  auto done = [this](GateAnswer answer) { tried(std::move(answer)); };
  if (request.target == "answer") {
    sitting_->tryAnswer(std::move(entered), std::move(done));
  } else {
    sitting_->tryPin(std::move(entered), std::move(done));
  }
}

void CommandSession::tried(GateAnswer answer) {
  if (answer.outcome == GateAnswer::Outcome::right && answer.proof) {
    proof_ = answer.proof;
    return run();
  }
  state_ = State::proving;
  send_({.type = Reply::Type::tried,
         .text = std::move(answer.message),
         .answerOpen = sitting_->answerOpen(),
         .question = sitting_->question()});
}

void CommandSession::run() {
  state_ = State::running;
  handler_.run(request_, proof_ ? &*proof_ : nullptr,
               lifetime_.guard([this](Reply reply) { answered(std::move(reply)); }));
}

/// The proof that was given stands for what it was asked for, the question included.
void CommandSession::agreed() {
  request_ = std::make_shared<const Request>(Request{.command = request_->command,
                                                     .json = request_->json,
                                                     .target = request_->target,
                                                     .value = request_->value,
                                                     .agreed = true});
  run();
}

void CommandSession::answered(Reply reply) {
  const bool asks = reply.type == Reply::Type::ask && !request_->agreed;
  state_ = asks ? State::asking : State::over;
  if (!asks) reply.type = Reply::Type::done;
  send_(std::move(reply));
}

}  // namespace brindle
