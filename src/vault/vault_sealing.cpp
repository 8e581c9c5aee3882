#include "vault/vault_sealing.h"

#include <algorithm>

#include "vault/vault_blob.h"

namespace brindle {
namespace {

/// The order of the curve, big-endian (SP 800-186, 3.2.1.3).
constexpr std::array<std::uint8_t, 32> order{
    0xff, 0xff, 0xff, 0xff, 0x00, 0x00, 0x00, 0x00, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff,
    0xbc, 0xe6, 0xfa, 0xad, 0xa7, 0x17, 0x9e, 0x84, 0xf3, 0xb9, 0xca, 0xc2, 0xfc, 0x63, 0x25, 0x51};

/// Whether it is from 1 to the order less one. Takes the same time for every number.
bool isPrivateKey(const SecretKey& key) {
  unsigned any = 0, borrow = 0;
  for (std::size_t i = order.size(); i-- > 0;) {
    any |= key.bytes[i];
    borrow = (unsigned{key.bytes[i]} - order[i] - borrow) >> 31;
  }
  return any != 0 && borrow == 1;
}

/// Draws that may be thrown away in a row. Even one is thrown away only every 2^32 times; a
/// generator that does this many times does not work.
constexpr int mostRejected = 8;

/// A value that is given, or a fresh one.
template <std::size_t size>
bool draw(Random& random, const std::array<std::uint8_t, size>* given,
          std::array<std::uint8_t, size>& out) {
  if (!given) return random.fill(out);
  out = *given;
  return true;
}

template <class T>
const T* optionalAt(const std::optional<T>& value) {
  return value ? &*value : nullptr;
}
template <class T>
const T* optionalAt(const std::vector<T>& values, std::size_t i) {
  return i < values.size() ? &values[i] : nullptr;
}

}  // namespace

bool VaultSealing::begin() {
  return draw(random_, optionalAt(fixed_.contentKey), contentKey_.bytes) &&
         draw(random_, optionalAt(fixed_.photoNonce), photoNonce_) &&
         draw(random_, optionalAt(fixed_.metaNonce), metaNonce_);
}

bool VaultSealing::sealInto(const SecretKey& key, const GcmNonce& nonce, std::string_view purpose,
                            ByteView plain, std::span<std::uint8_t> place) {
  GcmTag tag;
  const auto cipher = place.first(plain.size());
  if (!crypto_.sealAes256Gcm(key, nonce, std::string(purpose) + photoId_, plain, cipher, tag)) {
    return false;
  }
  std::ranges::copy(tag, place.subspan(plain.size()).begin());
  return true;
}

bool VaultSealing::sealPhoto(ByteView photo, std::span<std::uint8_t> place) {
  return sealInto(contentKey_, photoNonce_, photoPurpose, photo, place);
}

bool VaultSealing::sealMeta(std::string& text) {
  Bytes place(text.size() + std::tuple_size_v<GcmTag>);
  if (!sealInto(contentKey_, metaNonce_, metaPurpose, viewOf(text), place)) return false;
  text = base64url(place);
  return true;
}

/// By rejection, so that every key is equally likely (FIPS 186-5, A.2.2). A given one is not
/// replaced: it is used or refused.
bool VaultSealing::drawPrivateKey(std::size_t i, SecretKey& key) {
  const auto* given = optionalAt(fixed_.ephemeral, i);
  for (int left = mostRejected; left > 0; --left) {
    if (!draw(random_, given, key.bytes)) return false;
    if (isPrivateKey(key)) return true;
    if (given) return false;
  }
  return false;
}

bool VaultSealing::wrapFor(std::size_t i, const P256Public& recipient, std::string_view keyId,
                           std::string& out) {
  SecretKey own, wrapKey;
  P256Public ephemeral;
  GcmNonce nonce;
  std::array<std::uint8_t, sizeof contentKey_.bytes + std::tuple_size_v<GcmTag>> wrapped;
  if (!drawPrivateKey(i, own) || !crypto_.p256Public(own, ephemeral) ||
      !deriveWrapKey(crypto_, own, recipient, ephemeral, recipient, wrapKey) ||
      !draw(random_, optionalAt(fixed_.wrapNonces, i), nonce) ||
      !sealInto(wrapKey, nonce, wrapPurpose, contentKey_.bytes, wrapped)) {
    return false;
  }
  out.append(R"({"kid":")").append(keyId);
  out.append(R"(","epk":")").append(base64url(ephemeral));
  out.append(R"(","iv":")").append(base64url(nonce));
  out.append(R"(","ct":")").append(base64url(wrapped)).append(R"("})");
  return true;
}

}  // namespace brindle
