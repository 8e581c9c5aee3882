#pragma once

#include "platform/crypto.h"

namespace brindle {

/// OpenSSL 3's default provider.
class OpensslCrypto : public Crypto {
 public:
  [[nodiscard]] bool pbkdf2HmacSha256(ByteView secret, ByteView salt, unsigned iterations,
                                      Sha256& out) override;
  [[nodiscard]] bool sha256(std::span<const ByteView> pieces, Sha256& out) override;
  [[nodiscard]] bool isP256Public(const P256Public& key) override;
  [[nodiscard]] bool p256Public(const SecretKey& key, P256Public& out) override;
  [[nodiscard]] bool p256Agree(const SecretKey& key, const P256Public& peer,
                               SecretKey& out) override;
  [[nodiscard]] bool hkdfSha256(const SecretKey& secret, ByteView salt, std::string_view info,
                                SecretKey& out) override;
  [[nodiscard]] bool sealAes256Gcm(const SecretKey& key, const GcmNonce& nonce,
                                   std::string_view authenticated, ByteView plain,
                                   std::span<std::uint8_t> cipher, GcmTag& tag) override;
  [[nodiscard]] bool openAes256Gcm(const SecretKey& key, const GcmNonce& nonce,
                                   std::string_view authenticated, ByteView cipher,
                                   const GcmTag& tag, std::span<std::uint8_t> plain) override;
  ServiceReport report() const override;
};

}  // namespace brindle
