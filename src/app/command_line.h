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
  Request request;  ///< of Mode::request
};

/// An explanation when the arguments make no sense. Arguments never hold a PIN or an answer: other
/// programs can read them.
Result<CommandLine, std::string> readCommandLine(std::span<const std::string_view> arguments);

std::string_view usageText();

}  // namespace brindle
