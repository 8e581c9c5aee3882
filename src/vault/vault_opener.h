#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"
#include "base/uuid.h"
#include "platform/crypto.h"
#include "vault/vault_meta.h"

namespace brindle {

enum class OpeningFailure {
  notSealed,     ///< no sealed item, or its header is damaged or cut off
  otherVersion,  ///< sealed in a later form of the format
  notForThisKey,
  damaged,  ///< what is authenticated does not hold: changed, cut off, or not made for this key
};

/// What stands in front of a sealed photo for everybody to read. Nothing authenticates the event,
/// nor who else is a recipient.
struct SealedHeader {
  struct Recipient {
    std::string kid;
    P256Public epk{};
    GcmNonce nonce{};
    std::array<std::uint8_t, 48> wrappedKey{};  ///< the tag last
  };
  Uuid photoId, eventId;
  GcmNonce photoNonce{}, metaNonce{};
  Bytes meta;  ///< encrypted, its tag last
  std::vector<Recipient> recipients;
  std::size_t photoAt = 0;  ///< where the encrypted photo begins
};

/// Needs no key. Only the bytes that a sealing writes are a header: no other order of members, no
/// white space, no second spelling of a value.
[[nodiscard]] Result<SealedHeader, OpeningFailure> readSealedHeader(ByteView blob);

/// Opens what was sealed for one P-256 private key. Not for the guard: it has none. Any thread; the
/// crypto outlives it.
class VaultOpener {
 public:
  struct Opened {
    SealedHeader header;
    std::string metaJSON;  ///< as it was sealed
    std::optional<VaultMeta> meta;
    std::span<const std::uint8_t> photo;  ///< inside the blob
  };

  VaultOpener(Crypto& crypto, const SecretKey& key);

  /// What this key is called in a header. Empty when the number is no private key.
  const std::string& keyIdentifier() const { return keyIdentifier_; }
  /// Puts the photo in the place of its ciphertext: there is one of it in memory. After `damaged`
  /// the blob may be spoiled.
  [[nodiscard]] Result<Opened, OpeningFailure> open(std::span<std::uint8_t> blob) const;

 private:
  bool unwrap(const SealedHeader::Recipient& entry, const std::string& photoId,
              SecretKey& contentKey) const;

  Crypto& crypto_;
  SecretKey key_;
  P256Public public_{};
  std::string keyIdentifier_;
};

}  // namespace brindle
