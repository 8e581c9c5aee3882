#pragma once

#include <mutex>
#include <optional>
#include <vector>

#include "platform/openssl/crypto_openssl.h"

namespace brindle {

/// Real ones, but in place of the slow derivation one hash over its inputs: equal inputs give equal
/// outputs, different ones different outputs. Keeps the sizes it was asked with, never a secret.
class MemoryCrypto final : public OpensslCrypto {
 public:
  struct Derivation {
    unsigned iterations = 0;
    std::size_t secretSize = 0;
    std::size_t saltSize = 0;
  };

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

  void setFailing(bool failing);
  /// Every call fails from the one after the next `calls` on.
  void failAfter(unsigned calls);
  std::vector<Derivation> derivations() const;

 private:
  bool works();

  mutable std::mutex mutex_;
  std::vector<Derivation> derivations_;
  std::optional<unsigned> left_;  ///< calls that still work; all do when there is none
};

}  // namespace brindle
