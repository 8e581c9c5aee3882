#pragma once

#include <string_view>

namespace brindle {

/// True for a PIN that must not be chosen: not 4 to 32 decimal digits, one digit repeated, a run up
/// or down, a shorter group repeated, or a well-known one.
bool pinTooEasy(std::string_view pin);

}  // namespace brindle
