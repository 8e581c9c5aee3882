#include "vault/vault_crypto.h"

#include <algorithm>

#include "vault/vault_blob.h"
#include "vault/vault_sealing.h"

namespace brindle {
namespace {

using Error = VaultCrypto::Error;

/// Neither key nor recipients are at fault.
const Failure<Error> toolsFailed{Error{}};

std::string digestText(Crypto& crypto, std::string_view purpose, const P256Public& key,
                       std::size_t length) {
  Sha256 digest;
  const std::array<ByteView, 2> pieces{viewOf(purpose), key};
  return crypto.sha256(pieces, digest) ? base64url(digest).substr(0, length) : std::string();
}

/// Length, header, and room for the photo and its tag, in one allocation. The room is not filled.
RawBytes blobAround(std::string_view header, std::size_t photoSize) {
  const std::size_t begin = headerLengthSize + header.size();
  RawBytes blob(begin + photoSize + std::tuple_size_v<GcmTag>);
  for (std::size_t i = 0; i < headerLengthSize; ++i) {
    blob[i] = static_cast<std::uint8_t>(header.size() >> (8 * (headerLengthSize - 1 - i)));
  }
  std::ranges::copy(viewOf(header), blob.begin() + headerLengthSize);
  return blob;
}

}  // namespace

Result<P256Public, VaultCrypto::Failure> VaultCrypto::parsePublicKey(ByteView key) {
  P256Public point;
  if (key.size() != point.size() || key[0] != 0x04) return std::unexpected(Failure::badKey);
  std::ranges::copy(key, point.begin());
  if (!crypto_.isP256Public(point)) return std::unexpected(Failure::badKey);
  return point;
}

std::string VaultCrypto::keyIdentifier(const P256Public& key) {
  return digestText(crypto_, "", key, 16);
}

std::string VaultCrypto::organisationIdentifier(const P256Public& key) {
  return digestText(crypto_, "brindle/org-id/v1/", key, 22);
}

/// Each key once, where it stands first.
Result<std::vector<P256Public>, VaultCrypto::Failure> VaultCrypto::parseAll(
    std::span<const Bytes> keys) {
  std::vector<P256Public> taken;
  for (const Bytes& key : keys) {
    const auto same = [&key](const P256Public& other) { return std::ranges::equal(key, other); };
    if (std::ranges::any_of(taken, same)) continue;
    const auto point = parsePublicKey(key);
    if (!point) return std::unexpected(point.error());
    taken.push_back(*point);
  }
  if (taken.empty()) return std::unexpected(Failure::noRecipients);
  return taken;
}

Result<VaultCrypto::Sealed, Error> VaultCrypto::seal(ByteView photo, const Meta& meta,
                                                     const Uuid& photoId, const Uuid& eventId,
                                                     std::span<const Bytes> recipients,
                                                     const Fixed& fixed) {
  const auto keys = parseAll(recipients);
  if (!keys) return std::unexpected(Error{keys.error()});
  VaultSealing sealing(crypto_, random_, fixed, photoId);
  std::string metaText = metaJson(meta);
  if (!sealing.begin() || !sealing.sealMeta(metaText)) return toolsFailed;
  Sealed out;
  out.headerJSON.append(R"({"v":1,"photoId":")").append(sealing.photoId());
  out.headerJSON.append(R"(","eventId":")").append(eventId.lower());
  out.headerJSON.append(R"(","iv":")").append(sealing.photoNonce());
  out.headerJSON.append(R"(","meta":{"iv":")").append(sealing.metaNonce());
  out.headerJSON.append(R"(","ct":")").append(metaText).append(R"("},"recipients":[)");
  for (std::size_t i = 0; i < keys->size(); ++i) {
    if (i > 0) out.headerJSON += ',';
    out.keyIDs.push_back(keyIdentifier((*keys)[i]));
    if (out.keyIDs.back().empty() ||
        !sealing.wrapFor(i, (*keys)[i], out.keyIDs.back(), out.headerJSON)) {
      return toolsFailed;
    }
  }
  out.headerJSON += "]}";
  // The header's length is known by now, so that the photo is encrypted into its place.
  out.blob = blobAround(out.headerJSON, photo.size());
  const auto place = std::span(out.blob).subspan(headerLengthSize + out.headerJSON.size());
  if (!sealing.sealPhoto(photo, place)) return toolsFailed;
  return out;
}

}  // namespace brindle
