#include "vault/vault_opener.h"

#include <algorithm>

#include "base/base64.h"
#include "vault/vault_blob.h"
#include "vault/vault_opener_json.h"

namespace brindle {
namespace {

constexpr std::size_t tagBytes = std::tuple_size_v<GcmTag>;
// Room for as many recipients as a key set of 1 MiB can name; a longer one would only cost memory.
constexpr std::size_t longestHeader = std::size_t{2} << 20;

/// Ciphertext and tag, opened where they are. Empty when they do not hold.
std::optional<std::span<std::uint8_t>> openInPlace(Crypto& crypto, const SecretKey& key,
                                                   const GcmNonce& nonce, std::string_view purpose,
                                                   const std::string& photoId,
                                                   std::span<std::uint8_t> sealed) {
  if (sealed.size() < tagBytes) return std::nullopt;
  const auto content = sealed.first(sealed.size() - tagBytes);
  GcmTag tag;
  std::ranges::copy(sealed.last(tagBytes), tag.begin());
  const std::string bound = std::string(purpose) + photoId;
  if (!crypto.openAes256Gcm(key, nonce, bound, content, tag, content)) return std::nullopt;
  return content;
}

}  // namespace

Result<SealedHeader, OpeningFailure> readSealedHeader(ByteView blob) {
  std::size_t length = 0;
  if (blob.size() < headerLengthSize) return Failure(OpeningFailure::notSealed);
  for (const std::uint8_t byte : blob.first(headerLengthSize)) length = length << 8 | byte;
  const ByteView rest = blob.subspan(headerLengthSize);
  if (length > longestHeader || length > rest.size()) return Failure(OpeningFailure::notSealed);
  auto header = readSealedHeaderText(textOf(rest.first(length)));
  if (header) header->photoAt = headerLengthSize + length;
  return header;
}

VaultOpener::VaultOpener(Crypto& crypto, const SecretKey& key) : crypto_(crypto) {
  constexpr std::size_t identifierLength = 16;
  key_.bytes = key.bytes;
  Sha256 digest;
  const ByteView pieces[] = {public_};
  if (crypto_.p256Public(key_, public_) && crypto_.sha256(pieces, digest)) {
    keyIdentifier_ = base64url(digest).substr(0, identifierLength);
  }
}

bool VaultOpener::unwrap(const SealedHeader::Recipient& entry, const std::string& photoId,
                         SecretKey& contentKey) const {
  SecretKey wrapKey;
  auto wrapped = entry.wrappedKey;
  if (!deriveWrapKey(crypto_, key_, entry.epk, entry.epk, public_, wrapKey)) return false;
  const auto opened = openInPlace(crypto_, wrapKey, entry.nonce, wrapPurpose, photoId, wrapped);
  if (opened) std::ranges::copy(*opened, contentKey.bytes.begin());
  wipe(wrapped.data(), wrapped.size());
  return opened.has_value();
}

Result<VaultOpener::Opened, OpeningFailure> VaultOpener::open(std::span<std::uint8_t> blob) const {
  auto header = readSealedHeader(blob);
  if (!header) return Failure(header.error());
  const auto entry =
      std::ranges::find(header->recipients, keyIdentifier_, &SealedHeader::Recipient::kid);
  if (entry == header->recipients.end()) return Failure(OpeningFailure::notForThisKey);
  const std::string photoId = header->photoId.lower();
  SecretKey contentKey;
  if (!unwrap(*entry, photoId, contentKey)) return Failure(OpeningFailure::damaged);
  Bytes sealedMeta = header->meta;
  const auto meta =
      openInPlace(crypto_, contentKey, header->metaNonce, metaPurpose, photoId, sealedMeta);
  if (!meta) return Failure(OpeningFailure::damaged);
  const auto photo = openInPlace(crypto_, contentKey, header->photoNonce, photoPurpose, photoId,
                                 blob.subspan(header->photoAt));
  if (!photo) return Failure(OpeningFailure::damaged);
  const std::string_view metaText = textOf(*meta);
  return Opened{std::move(*header), std::string(metaText), readVaultMeta(metaText), *photo};
}

}  // namespace brindle
