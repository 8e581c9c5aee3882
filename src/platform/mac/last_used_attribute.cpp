#include "platform/mac/last_used_attribute.h"

#include <array>
#include <cstring>

namespace brindle {

std::optional<WallTime> lastUsedDate(ByteView attribute) {
  std::array<std::int64_t, 2> parts{};
  if (attribute.size() != sizeof parts) return std::nullopt;
  std::memcpy(parts.data(), attribute.data(), sizeof parts);
  // Some 30,000 years either way: with any number of nanoseconds the microseconds stay in range.
  constexpr std::int64_t farthest = 1'000'000'000'000;
  if (parts[0] < -farthest || parts[0] > farthest) return std::nullopt;
  return WallTime(std::chrono::seconds(parts[0])) +
         std::chrono::duration_cast<WallTime::duration>(std::chrono::nanoseconds(parts[1]));
}

}  // namespace brindle
