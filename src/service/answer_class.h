#pragma once

#include <string_view>

namespace brindle {

/// What the answer to a request means for whoever sent it.
enum class AnswerClass {
  done,     ///< accepted
  refused,  ///< will never be accepted: not tried again
  failed,   ///< tried again later
};

/// Status 0 stands for "no answer". 408 and 429 are worth another try; a body that is too large or
/// malformed will not get better by repeating it.
AnswerClass classify(int status);

/// Refused only as things are: with another token, another plan or other keys it may be accepted.
inline bool isNotAllowed(int status) { return status == 401 || status == 402 || status == 403; }

/// "done", "refused" or "failed", as the log has them.
std::string_view nameOf(AnswerClass answer);

}  // namespace brindle
