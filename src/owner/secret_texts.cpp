#include "owner/secret_texts.h"

namespace brindle::secret_texts {

std::string_view pinSaved(PinSaved outcome) {
  switch (outcome) {
    case PinSaved::saved:
      return {};
    case PinSaved::tooEasy:
      return "That PIN is too easy to guess. Choose another.";
    case PinSaved::repeatDiffers:
      return "The PINs don't match. Try again.";
    case PinSaved::needsProof:
      return pinFirst();
    case PinSaved::failed:
      return "Couldn't save your PIN. Try again.";
  }
  return {};
}

std::string_view answerSaved(AnswerSaved outcome) {
  switch (outcome) {
    case AnswerSaved::saved:
      return {};
    case AnswerSaved::noQuestion:
      return "Write a question first.";
    case AnswerSaved::tooShort:
      return "The answer is too short.";
    case AnswerSaved::answersDiffer:
      return "The answers don't match.";
    case AnswerSaved::needsProof:
      return pinFirst();
    case AnswerSaved::failed:
      return "Couldn't save it. Try again.";
  }
  return {};
}

std::string_view wrong(WrongTry which) {
  return which == WrongTry::pin ? "Wrong PIN. Photo taken." : "Wrong answer. Photo taken.";
}

std::string locked(WrongTry which, int secondsLeft) {
  const std::string_view start = which == WrongTry::pin ? "Too many wrong PINs. Try again in "
                                                        : "Too many wrong answers. Try again in ";
  return std::string(start) + std::to_string(secondsLeft) + " seconds.";
}

std::string_view pinFirst() { return "Enter your Brindle PIN first."; }

std::string unreadable(const Unreadable& which) {
  if (!which.pin && !which.answer) return {};
  std::string text = "Brindle can't read your PIN and secret answer right now.";
  if (!which.answer) text = "Brindle can't read your PIN right now.";
  if (!which.pin) text = "Brindle can't read your secret answer right now.";
  text += which.staysOff ? " You'd need them to turn Brindle off, so it stays off. " : " ";
  return text + "Try again and choose Allow when your Mac asks.";
}

std::string stillUnreadable(int keychainCode) {
  return "Still can't read it (code " + std::to_string(keychainCode) + ")";
}

std::string_view keychainWillAsk() {
  return "An earlier version of Brindle kept them in your Mac's keychain. Your Mac will ask, maybe "
         "more than once, whether Brindle can use them.";
}

}  // namespace brindle::secret_texts
