#include "service/answer_class.h"

#include <algorithm>
#include <array>

namespace brindle {

AnswerClass classify(int status) {
  static constexpr std::array refused{400, 401, 402, 403, 404, 405, 409, 410, 413, 422};
  if (status >= 200 && status <= 299) return AnswerClass::done;
  const bool isFinal = std::ranges::find(refused, status) != refused.end();
  return isFinal ? AnswerClass::refused : AnswerClass::failed;
}

std::string_view nameOf(AnswerClass answer) {
  switch (answer) {
    case AnswerClass::done:
      return "done";
    case AnswerClass::refused:
      return "refused";
    case AnswerClass::failed:
      return "failed";
  }
  return "failed";
}

}  // namespace brindle
