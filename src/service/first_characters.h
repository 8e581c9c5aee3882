#pragma once

#include <string>
#include <string_view>

namespace brindle {

/// The first `most` characters of a text as a person counts them: extended grapheme clusters
/// (UAX #29), none of which is cut in two. What is not UTF-8 is repaired first.
std::string firstCharacters(std::string_view text, int most);

}  // namespace brindle
