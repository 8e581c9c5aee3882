#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/base64.h"
#include "base/raw_bytes.h"
#include "base/result.h"
#include "base/uuid.h"
#include "platform/crypto.h"
#include "platform/random.h"
#include "vault/vault_meta.h"

namespace brindle {

/// Seals a photo or clip so that only the holders of chosen P-256 private keys can open it. The
/// format is in docs/sealed-blob.md. Any thread; no state but its two tools, which outlive it.
class VaultCrypto {
 public:
  using Meta = VaultMeta;
  enum class Failure { badKey, noRecipients };
  /// No failure of its own: the cryptographic library or the random generator failed.
  struct Error {
    std::optional<Failure> failure;
    bool operator==(const Error&) const = default;
  };
  /// Replaces random values, so that a sealing can be repeated byte for byte. What is absent, or
  /// beyond the end of a list, is drawn fresh.
  struct Fixed {
    std::optional<std::array<std::uint8_t, 32>> contentKey;
    std::optional<GcmNonce> photoNonce, metaNonce;
    std::vector<std::array<std::uint8_t, 32>> ephemeral;  ///< private keys, one a recipient
    std::vector<GcmNonce> wrapNonces;                     ///< one a recipient
  };
  struct Sealed {
    RawBytes blob;
    std::string headerJSON;  ///< as it stands inside the blob
    std::vector<std::string> keyIDs;
  };

  VaultCrypto(Crypto& crypto, Random& random) : crypto_(crypto), random_(random) {}

  /// The same key twice is one recipient. Nothing is sealed when any key is bad.
  [[nodiscard]] Result<Sealed, Error> seal(ByteView photo, const Meta& meta, const Uuid& photoId,
                                           const Uuid& eventId, std::span<const Bytes> recipients,
                                           const Fixed& fixed = {});
  /// 65 bytes, the first 0x04, a point of the curve; nothing else.
  [[nodiscard]] Result<P256Public, Failure> parsePublicKey(ByteView key);
  /// 16 characters of the key's digest. Empty when the library failed.
  std::string keyIdentifier(const P256Public& key);
  /// 22 characters of another digest of it. Empty when the library failed.
  std::string organisationIdentifier(const P256Public& key);

 private:
  Result<std::vector<P256Public>, Failure> parseAll(std::span<const Bytes> keys);

  Crypto& crypto_;
  Random& random_;
};

}  // namespace brindle
