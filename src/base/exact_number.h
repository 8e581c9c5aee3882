#pragma once

#include <string_view>

namespace brindle {

/// The double nearest to a JSON number's text (RFC 8259, section 6), whatever the locale;
/// `otherwise` for one that a double cannot hold. Boost.JSON 1.81 rounds long numbers a little
/// wrong, so that a place would creep with every save.
double exactDouble(std::string_view number, double otherwise);

}  // namespace brindle
