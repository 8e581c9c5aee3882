#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "base/times.h"

namespace brindle {

/// The internet date-time of RFC 3339 with whole seconds, as all documents use it.
/// Writing: UTC with "Z"; a fraction of a second is cut off downwards.
std::string isoSeconds(WallTime time);
void appendIsoSeconds(std::string& out, WallTime time);
/// Writes at most `longestIsoSeconds` characters at `at` and returns where it stopped.
char* putIsoSeconds(char* at, WallTime time);
inline constexpr std::size_t longestIsoSeconds = 24;

/// Reading: "2026-03-29T02:30:00Z" or with a numeric offset ("+02:00", "-0330" is not one). A
/// fraction makes the text unreadable, as do a space for the "T" and days that the month does not
/// have.
std::optional<WallTime> parseIsoSeconds(std::string_view text);

}  // namespace brindle
