#include "app/conversation.h"

namespace brindle {

bool Conversation::prepare(Request& request) {
  if (request.target == "sign-in-email" && request.value.empty()) {
    request.value = terminal_.ask("E-mail address: ").value_or("");
    return !request.value.empty();
  }
  if (request.command == "vault" && request.target == "join" && request.value.empty()) {
    request.value = terminal_.ask("Code: ").value_or("");
    return !request.value.empty();
  }
  if (request.replacePin) return askTwice(request, "pin", "New PIN: ");
  const bool given = request.alertDelay || request.startAtLogin;
  return request.command != "setup" || given || askForSetup(request);
}

bool Conversation::askForSetup(Request& request) {
  if (!askTwice(request, "pin", "New PIN (empty: keep the one there is): ")) return false;
  const auto question = terminal_.ask("Secret question (empty: keep it as it is): ");
  if (!question) return false;
  if (!question->empty()) {
    request.question = *question;
    if (!askTwice(request, "answer", "Its answer: ")) return false;
  }
  const auto delay =
      terminal_.ask("Seconds before an unconfirmed unlock is reported (empty: keep): ");
  if (!delay) return false;
  if (delay->empty()) return true;
  if (delay->size() > 6 || delay->find_first_not_of("0123456789") != std::string::npos) {
    terminal_.say("That is no number of seconds.");
    return false;
  }
  request.alertDelay = std::stoll(*delay);
  return true;
}

bool Conversation::askTwice(Request& request, const std::string& name, const std::string& prompt) {
  auto secret = terminal_.askSecret(prompt);
  if (!secret) return false;
  if (secret->empty()) return true;
  auto repeat = terminal_.askSecret("Again: ");
  if (!repeat) return false;
  request.secrets.push_back({name, std::move(*secret)});
  request.secrets.push_back({name + "Repeat", std::move(*repeat)});
  return true;
}

std::optional<Request> Conversation::next(const Reply& reply) {
  if (reply.type == Reply::Type::ask) return askForAgreement(reply);
  if (reply.type != Reply::Type::done) return askForProof(reply);
  exitCode_ = reply.exitCode;
  std::string_view text = reply.text;
  if (text.ends_with('\n')) text.remove_suffix(1);
  if (!text.empty()) terminal_.say(text);
  return std::nullopt;
}

std::optional<Request> Conversation::askForAgreement(const Reply& reply) {
  const auto answer = terminal_.ask(reply.text + "Type \"yes\" to go on: ");
  if (answer == "yes") return Request{.command = "agree"};
  exitCode_ = exit_code::failed;
  terminal_.say("Nothing was changed.");
  return std::nullopt;
}

std::optional<Request> Conversation::askForProof(const Reply& reply) {
  terminal_.say(reply.text);
  Request attempt{.command = "try", .target = "pin"};
  const bool answerOffered = reply.answerOpen && !reply.question.empty();
  auto entered = terminal_.askSecret(
      answerOffered ? "Brindle PIN (empty: answer the secret question): " : "Brindle PIN: ");
  if (entered && entered->empty() && answerOffered) {
    attempt.target = "answer";
    entered = terminal_.askSecret(reply.question + " ");
  }
  if (!entered || entered->empty()) {
    terminal_.say("Given up.");
    return std::nullopt;
  }
  attempt.secrets.push_back({attempt.target, std::move(*entered)});
  return attempt;
}

}  // namespace brindle
