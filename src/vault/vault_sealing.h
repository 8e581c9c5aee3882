#pragma once

#include <string>

#include "vault/vault_crypto.h"

namespace brindle {

/// One sealing: its content key, and what everything in it is bound to. Each step says whether it
/// could be done; after one that could not, nothing of it may be used.
class VaultSealing {
 public:
  VaultSealing(Crypto& crypto, Random& random, const VaultCrypto::Fixed& fixed, const Uuid& photoId)
      : crypto_(crypto), random_(random), fixed_(fixed), photoId_(photoId.lower()) {}

  /// First: draws the content key and the nonces.
  [[nodiscard]] bool begin();
  /// `text` is overwritten by what it becomes, in base64url.
  [[nodiscard]] bool sealMeta(std::string& text);
  /// Appends the i-th recipient's object.
  [[nodiscard]] bool wrapFor(std::size_t i, const P256Public& recipient, std::string_view keyId,
                             std::string& out);
  /// `place` is a tag longer than the photo.
  [[nodiscard]] bool sealPhoto(ByteView photo, std::span<std::uint8_t> place);

  const std::string& photoId() const { return photoId_; }
  std::string photoNonce() const { return base64url(photoNonce_); }
  std::string metaNonce() const { return base64url(metaNonce_); }

 private:
  bool sealInto(const SecretKey& key, const GcmNonce& nonce, std::string_view purpose,
                ByteView plain, std::span<std::uint8_t> place);
  bool drawPrivateKey(std::size_t i, SecretKey& key);

  Crypto& crypto_;
  Random& random_;
  const VaultCrypto::Fixed& fixed_;
  std::string photoId_;
  SecretKey contentKey_;
  GcmNonce photoNonce_{}, metaNonce_{};
};

}  // namespace brindle
