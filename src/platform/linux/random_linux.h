#pragma once

#include "platform/random.h"

namespace brindle {

/// The kernel's generator, getrandom(2).
class LinuxRandom final : public Random {
 public:
  [[nodiscard]] bool fill(std::span<std::uint8_t> bytes) override;
  ServiceReport report() const override;
};

}  // namespace brindle
