// The elliptic curve and the authenticated encryption of OpenSSL 3's default provider. Ciphers and
// derivations go through EVP. Points are multiplied by the functions that its ECDH uses itself:
// EVP makes no public key from a private one, and sets the curve up anew for every key it takes,
// which costs a third of a derivation.
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/kdf.h>
#include <openssl/obj_mac.h>
#include <openssl/params.h>

#include <limits>
#include <memory>

#include "base/secret_text.h"
#include "platform/openssl/crypto_openssl.h"
#include "platform/openssl/openssl_owner.h"

namespace brindle {
namespace {

using Group = std::unique_ptr<EC_GROUP, FreedBy<EC_GROUP_free>>;
using Point = std::unique_ptr<EC_POINT, FreedBy<EC_POINT_clear_free>>;
using Number = std::unique_ptr<BIGNUM, FreedBy<BN_clear_free>>;
using Numbers = std::unique_ptr<BN_CTX, FreedBy<BN_CTX_free>>;
using Cipher = std::unique_ptr<EVP_CIPHER_CTX, FreedBy<EVP_CIPHER_CTX_free>>;
using Kdf = std::unique_ptr<EVP_KDF, FreedBy<EVP_KDF_free>>;
using KdfContext = std::unique_ptr<EVP_KDF_CTX, FreedBy<EVP_KDF_CTX_free>>;

const EC_GROUP* curve() {
  static const Group group(EC_GROUP_new_by_curve_name(NID_X9_62_prime256v1));
  return group.get();
}

Point pointOf(const P256Public& key, BN_CTX* numbers) {
  Point point(curve() ? EC_POINT_new(curve()) : nullptr);
  const bool read = point && key[0] == POINT_CONVERSION_UNCOMPRESSED &&
                    EC_POINT_oct2point(curve(), point.get(), key.data(), key.size(), numbers) == 1;
  return read ? std::move(point) : nullptr;
}

/// Null for what is no private key.
Number numberOf(const SecretKey& key) {
  Number number(BN_secure_new());
  if (!number || !curve()) return nullptr;
  if (!BN_bin2bn(key.bytes.data(), static_cast<int>(key.bytes.size()), number.get()))
    return nullptr;
  BN_set_flags(number.get(), BN_FLG_CONSTTIME);
  const bool fits =
      !BN_is_zero(number.get()) && BN_cmp(number.get(), EC_GROUP_get0_order(curve())) < 0;
  return fits ? std::move(number) : nullptr;
}

bool fitsInt(std::size_t size) { return size <= std::numeric_limits<int>::max(); }

/// Sets the key, the nonce and the text that is only authenticated.
Cipher beginGcm(bool sealing, const SecretKey& key, const GcmNonce& nonce,
                std::string_view authenticated) {
  Cipher cipher(EVP_CIPHER_CTX_new());
  int size = 0;
  const bool ready = cipher && fitsInt(authenticated.size()) &&
                     EVP_CipherInit_ex2(cipher.get(), EVP_aes_256_gcm(), key.bytes.data(),
                                        nonce.data(), sealing ? 1 : 0, nullptr) == 1 &&
                     (authenticated.empty() ||
                      EVP_CipherUpdate(cipher.get(), nullptr, &size, viewOf(authenticated).data(),
                                       static_cast<int>(authenticated.size())) == 1);
  return ready ? std::move(cipher) : nullptr;
}

bool throughGcm(EVP_CIPHER_CTX* cipher, ByteView from, std::span<std::uint8_t> to) {
  int size = 0;
  if (from.size() != to.size() || !fitsInt(from.size())) return false;
  return from.empty() || EVP_CipherUpdate(cipher, to.data(), &size, from.data(),
                                          static_cast<int>(from.size())) == 1;
}

}  // namespace

bool OpensslCrypto::isP256Public(const P256Public& key) {
  return static_cast<bool>(pointOf(key, nullptr));
}

bool OpensslCrypto::p256Public(const SecretKey& key, P256Public& out) {
  const Numbers numbers(BN_CTX_secure_new());
  const Number number = numberOf(key);
  const Point point(curve() ? EC_POINT_new(curve()) : nullptr);
  return numbers && number && point &&
         EC_POINT_mul(curve(), point.get(), number.get(), nullptr, nullptr, numbers.get()) == 1 &&
         EC_POINT_point2oct(curve(), point.get(), POINT_CONVERSION_UNCOMPRESSED, out.data(),
                            out.size(), numbers.get()) == out.size();
}

bool OpensslCrypto::p256Agree(const SecretKey& key, const P256Public& peer, SecretKey& out) {
  const Numbers numbers(BN_CTX_secure_new());
  const Number number = numberOf(key);
  const Point theirs = numbers ? pointOf(peer, numbers.get()) : nullptr;
  const Point shared(theirs ? EC_POINT_new(curve()) : nullptr);
  const Number x(BN_secure_new());
  return number && shared && x &&
         EC_POINT_mul(curve(), shared.get(), nullptr, theirs.get(), number.get(), numbers.get()) ==
             1 &&
         EC_POINT_get_affine_coordinates(curve(), shared.get(), x.get(), nullptr, numbers.get()) ==
             1 &&
         BN_bn2binpad(x.get(), out.bytes.data(), static_cast<int>(out.bytes.size())) > 0;
}

bool OpensslCrypto::hkdfSha256(const SecretKey& secret, ByteView salt, std::string_view info,
                               SecretKey& out) {
  static const Kdf kdf(EVP_KDF_fetch(nullptr, OSSL_KDF_NAME_HKDF, nullptr));
  const KdfContext context(kdf ? EVP_KDF_CTX_new(kdf.get()) : nullptr);
  if (!context) return false;
  // The library refuses an empty salt, which stands for zeros (RFC 5869, 2.2).
  const Sha256 zeros{};
  if (salt.empty()) salt = zeros;
  // The library's parameters are not const, it does not write to them.
  const auto octets = [](const char* name, const void* data, std::size_t size) {
    return OSSL_PARAM_construct_octet_string(name, const_cast<void*>(data), size);
  };
  char hash[] = "SHA256";
  const OSSL_PARAM parameters[] = {
      OSSL_PARAM_construct_utf8_string(OSSL_KDF_PARAM_DIGEST, hash, 0),
      octets(OSSL_KDF_PARAM_KEY, secret.bytes.data(), secret.bytes.size()),
      octets(OSSL_KDF_PARAM_SALT, salt.data(), salt.size()),
      octets(OSSL_KDF_PARAM_INFO, info.data(), info.size()), OSSL_PARAM_construct_end()};
  return EVP_KDF_derive(context.get(), out.bytes.data(), out.bytes.size(), parameters) == 1;
}

bool OpensslCrypto::sealAes256Gcm(const SecretKey& key, const GcmNonce& nonce,
                                  std::string_view authenticated, ByteView plain,
                                  std::span<std::uint8_t> cipher, GcmTag& tag) {
  const Cipher context = beginGcm(true, key, nonce, authenticated);
  int size = 0;
  return context && throughGcm(context.get(), plain, cipher) &&
         EVP_CipherFinal_ex(context.get(), tag.data(), &size) == 1 &&
         EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_GET_TAG, static_cast<int>(tag.size()),
                             tag.data()) == 1;
}

bool OpensslCrypto::openAes256Gcm(const SecretKey& key, const GcmNonce& nonce,
                                  std::string_view authenticated, ByteView cipher,
                                  const GcmTag& tag, std::span<std::uint8_t> plain) {
  const Cipher context = beginGcm(false, key, nonce, authenticated);
  GcmTag expected = tag;
  std::uint8_t none[16];
  int size = 0;
  const bool opened =
      context && throughGcm(context.get(), cipher, plain) &&
      EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_SET_TAG, static_cast<int>(expected.size()),
                          expected.data()) == 1 &&
      EVP_CipherFinal_ex(context.get(), none, &size) == 1;
  if (!opened) wipe(plain.data(), plain.size());
  return opened;
}

}  // namespace brindle
