#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "base/bytes.h"
#include "base/secret_key.h"
#include "platform/service_report.h"

namespace brindle {

using Sha256 = std::array<std::uint8_t, 32>;
/// A public key on NIST P-256 (SP 800-186), ANSI X9.63 uncompressed: 0x04, x, y.
using P256Public = std::array<std::uint8_t, 65>;
using GcmNonce = std::array<std::uint8_t, 12>;
using GcmTag = std::array<std::uint8_t, 16>;

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
  /// Whether these bytes are a point of the curve in exactly this form: hybrid ones (0x06, 0x07)
  /// are not.
  [[nodiscard]] virtual bool isP256Public(const P256Public& key) = 0;
  /// The public key of a private one. False for a number that is none: zero, or beyond the order of
  /// the curve.
  [[nodiscard]] virtual bool p256Public(const SecretKey& key, P256Public& out) = 0;
  /// ECDH (SP 800-56A, 5.7.1.2): the x coordinate, big-endian.
  [[nodiscard]] virtual bool p256Agree(const SecretKey& key, const P256Public& peer,
                                       SecretKey& out) = 0;
  /// HKDF (RFC 5869) with HMAC-SHA-256 and 32 bytes of output.
  [[nodiscard]] virtual bool hkdfSha256(const SecretKey& secret, ByteView salt,
                                        std::string_view info, SecretKey& out) = 0;
  /// AES-256-GCM (SP 800-38D). `cipher` is as long as `plain` and may be the same memory. A nonce
  /// is used once per key.
  [[nodiscard]] virtual bool sealAes256Gcm(const SecretKey& key, const GcmNonce& nonce,
                                           std::string_view authenticated, ByteView plain,
                                           std::span<std::uint8_t> cipher, GcmTag& tag) = 0;
  /// False when anything was changed, and then `plain` is wiped. The same memory will do.
  [[nodiscard]] virtual bool openAes256Gcm(const SecretKey& key, const GcmNonce& nonce,
                                           std::string_view authenticated, ByteView cipher,
                                           const GcmTag& tag, std::span<std::uint8_t> plain) = 0;
  virtual ServiceReport report() const = 0;
};

/// Compares in time that depends on the lengths only.
bool equalInConstantTime(ByteView a, ByteView b);

}  // namespace brindle
