#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "base/uuid.h"
#include "platform/service_report.h"

namespace brindle {

/// The system's secure random generator. Any thread.
class Random {
 public:
  virtual ~Random() = default;

  /// False when the system gave no bytes; then nothing may be made of the buffer.
  [[nodiscard]] virtual bool fill(std::span<std::uint8_t> bytes) = 0;
  virtual ServiceReport report() const = 0;

  /// Uniform in [low, high); `low` if the generator fails. For pauses and jitter, not for secrets.
  double uniform(double low, double high);
  /// A version 4 identifier. If the generator fails it is built from a counter and the clock:
  /// events must get distinct names even then, and these names are no secrets.
  Uuid newUuid();
};

}  // namespace brindle
