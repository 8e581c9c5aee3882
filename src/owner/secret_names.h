#pragma once

#include <array>
#include <string_view>

#include "owner/secret_results.h"

namespace brindle::secret_names {

inline constexpr std::string_view account = "owner";
inline constexpr std::string_view pin = "guard.pin";
inline constexpr std::string_view answer = "guard.answer";
inline constexpr std::string_view question = "guard.answer.question";
inline constexpr std::array all{pin, answer, question};

/// The item of a secret's record, and the prefix of its wrong-try keys.
constexpr std::string_view of(SecretKind which) { return which == SecretKind::pin ? pin : answer; }

/// The item that only makes sense together with this one; empty for the PIN.
constexpr std::string_view partnerOf(std::string_view name) {
  if (name == answer) return question;
  return name == question ? answer : std::string_view();
}

}  // namespace brindle::secret_names
