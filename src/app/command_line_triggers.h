#pragma once

#include <span>
#include <string>
#include <string_view>

#include "app/command_message.h"
#include "base/result.h"

namespace brindle {

/// The words after `alarm`, `schedule`, `idle` and `log`, as a request; an explanation when they
/// make no sense.
Result<Request, std::string> readTriggerRequest(Request request,
                                                std::span<const std::string_view> rest);

}  // namespace brindle
