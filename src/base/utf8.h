#pragma once

#include <string>
#include <string_view>

namespace brindle {

/// True for well-formed UTF-8 (RFC 3629): no overlong forms, no surrogates, nothing above U+10FFFF.
bool isUtf8(std::string_view text);

/// The text with every ill-formed stretch replaced by U+FFFD.
std::string repairedUtf8(std::string_view text);

}  // namespace brindle
