#pragma once

#include <string>
#include <string_view>

namespace brindle {

/// The text with every line end and other control character (C0, DEL, C1 and the two line ends of
/// Unicode) as a space: it cannot leave the line it is put into. What is not UTF-8 is repaired
/// first.
std::string oneLine(std::string_view value);

}  // namespace brindle
