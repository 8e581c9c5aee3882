#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "owner/secret_results.h"

namespace brindle::secret_texts {

/// Nothing for `saved`.
std::string_view pinSaved(PinSaved outcome);
std::string_view answerSaved(AnswerSaved outcome);

std::string_view wrong(WrongTry which);
std::string locked(WrongTry which, int secondsLeft);
std::string_view pinFirst();

/// Which secrets cannot be read. `staysOff`: Brindle refused to turn on because of it.
struct Unreadable {
  bool pin = false;
  bool answer = false;
  bool staysOff = false;
};
/// Empty when both can be read.
std::string unreadable(const Unreadable& which);
/// After asking again did not help.
std::string stillUnreadable(int keychainCode);
/// Told before the system asks the owner about items of an earlier version.
std::string_view keychainWillAsk();

}  // namespace brindle::secret_texts
