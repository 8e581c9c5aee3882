#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "app/command_message.h"
#include "base/result.h"

namespace brindle {

/// What the program was started for.
struct CommandLine {
  enum class Mode { desktop, guard, rehearse, help, version, request };
  Mode mode = Mode::desktop;
  Request request;       ///< of Mode::request
  bool atLogin = false;  ///< of a guard: started by the login item, which says so itself
};

/// An explanation when the arguments make no sense. Arguments never hold a PIN or an answer: other
/// programs can read them.
Result<CommandLine, std::string> readCommandLine(std::span<const std::string_view> arguments);

/// For a guard's start by the login item; no command for a person.
inline constexpr std::string_view atLoginArgument = "--at-login";

std::string_view usageText();

}  // namespace brindle
