#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/result.h"

namespace brindle {

/// A sound in memory.
struct WavSound {
  /// Anything longer is no signal.
  static constexpr std::int64_t mostSamples = 16'000'000;

  std::uint32_t rate = 0;             ///< frames a second
  std::uint8_t channels = 0;          ///< 1 to 8
  std::vector<std::int16_t> samples;  ///< whole frames, at least one; the channels of each in a row
};

/// Reads a file whole, or says why it cannot be played. At once: it is short, and lies beside the
/// program.
Result<WavSound, std::string> readWavSound(const std::string& path);

}  // namespace brindle
