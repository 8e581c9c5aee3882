#include "platform/random.h"

#include <chrono>
#include <cstring>

namespace brindle {

double Random::uniform(double low, double high) {
  std::uint64_t word = 0;
  std::array<std::uint8_t, 8> bytes;
  if (!fill(bytes)) return low;
  std::memcpy(&word, bytes.data(), sizeof word);
  return low + (high - low) * (static_cast<double>(word >> 11) * 0x1.0p-53);
}

Uuid Random::newUuid() {
  std::array<std::uint8_t, 16> bytes{};
  if (!fill(bytes)) {
    static std::uint64_t counter = 0;
    const std::uint64_t parts[2] = {
        static_cast<std::uint64_t>(std::chrono::system_clock::now().time_since_epoch().count()),
        ++counter};
    std::memcpy(bytes.data(), parts, sizeof parts);
  }
  return Uuid::fromRandom(bytes);
}

}  // namespace brindle
