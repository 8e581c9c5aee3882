#pragma once

#include <array>
#include <cstdint>

#include "base/bytes.h"
#include "platform/service_report.h"

namespace brindle {

using Sha256 = std::array<std::uint8_t, 32>;

/// The primitives that the logic builds on. Any thread, blocking; each either works or says that it
/// could not.
class Crypto {
 public:
  virtual ~Crypto() = default;

  /// PBKDF2 (RFC 8018) with HMAC-SHA-256 and 32 bytes of output. False when it could not be
  /// derived.
  [[nodiscard]] virtual bool pbkdf2HmacSha256(ByteView secret, ByteView salt, unsigned iterations,
                                              Sha256& out) = 0;
  /// SHA-256 (FIPS 180-4) of the pieces, one after the other.
  [[nodiscard]] virtual bool sha256(std::span<const ByteView> pieces, Sha256& out) = 0;
  virtual ServiceReport report() const = 0;
};

/// Compares in time that depends on the lengths only.
bool equalInConstantTime(ByteView a, ByteView b);

}  // namespace brindle
