#pragma once

#include <optional>

#include "base/bytes.h"
#include "base/times.h"

namespace brindle {

/// The date in macOS' last-used attribute: seconds and nanoseconds since 1970, two signed 64-bit
/// integers in this machine's byte order. None for any other length, and for a moment that no clock
/// shows: whoever may write to a file may write this too.
std::optional<WallTime> lastUsedDate(ByteView attribute);

}  // namespace brindle
