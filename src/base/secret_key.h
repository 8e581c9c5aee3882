#pragma once

#include <array>
#include <cstdint>

#include "base/secret_text.h"

namespace brindle {

/// 32 bytes that nobody else may learn: a key, or what keys are made of. Wiped when it goes, never
/// logged, and not copied by accident.
class SecretKey {
 public:
  SecretKey() = default;
  SecretKey(const SecretKey&) = delete;
  SecretKey& operator=(const SecretKey&) = delete;
  ~SecretKey() { wipe(bytes.data(), bytes.size()); }

  std::array<std::uint8_t, 32> bytes{};
};

}  // namespace brindle
