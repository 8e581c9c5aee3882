#pragma once

#include "platform/crypto.h"

namespace brindle {

/// OpenSSL 3's default provider.
class OpensslCrypto final : public Crypto {
 public:
  [[nodiscard]] bool pbkdf2HmacSha256(ByteView secret, ByteView salt, unsigned iterations,
                                      Sha256& out) override;
  [[nodiscard]] bool sha256(std::span<const ByteView> pieces, Sha256& out) override;
  ServiceReport report() const override;
};

}  // namespace brindle
