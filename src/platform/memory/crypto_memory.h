#pragma once

#include <mutex>
#include <vector>

#include "platform/openssl/crypto_openssl.h"

namespace brindle {

/// Real SHA-256, and in place of the slow derivation one hash over its inputs: equal inputs give
/// equal outputs, different ones different outputs. Keeps the sizes it was asked with, never a
/// secret.
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
  ServiceReport report() const override;

  void setFailing(bool failing);
  std::vector<Derivation> derivations() const;

 private:
  mutable std::mutex mutex_;
  std::vector<Derivation> derivations_;
  bool failing_ = false;
};

}  // namespace brindle
