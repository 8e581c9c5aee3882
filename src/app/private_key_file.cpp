#include "app/private_key_file.h"

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>

#include "platform/openssl/openssl_owner.h"

namespace brindle {
namespace {

using Source = std::unique_ptr<BIO, FreedBy<BIO_free>>;
using PrivateKey = std::unique_ptr<EVP_PKEY, FreedBy<EVP_PKEY_free>>;
using Number = std::unique_ptr<BIGNUM, FreedBy<BN_clear_free>>;

/// The library may want the passphrase more than once; the person is asked once.
struct Passphrase {
  const std::function<std::optional<SecretText>()>& ask;
  bool wanted = false;
  std::optional<SecretText> text;

  static int give(char* buffer, int size, int /*writing*/, void* self) {
    auto& [ask, wanted, text] = *static_cast<Passphrase*>(self);
    if (!wanted) text = ask();
    wanted = true;
    if (!text || text->view().size() > static_cast<std::size_t>(size)) return -1;
    std::ranges::copy(text->view(), buffer);
    return static_cast<int>(text->view().size());
  }
};

bool isP256(const EVP_PKEY* key) {
  std::array<char, 64> group{};
  std::size_t length = 0;
  return EVP_PKEY_is_a(key, "EC") == 1 &&
         EVP_PKEY_get_utf8_string_param(key, OSSL_PKEY_PARAM_GROUP_NAME, group.data(), group.size(),
                                        &length) == 1 &&
         std::string_view(group.data(), length) == "prime256v1";
}

bool takeNumber(const EVP_PKEY* key, SecretKey& out) {
  BIGNUM* raw = nullptr;
  const bool found = EVP_PKEY_get_bn_param(key, OSSL_PKEY_PARAM_PRIV_KEY, &raw) == 1;
  const Number number(raw);
  const int size = static_cast<int>(out.bytes.size());
  return found && BN_bn2binpad(number.get(), out.bytes.data(), size) == size;
}

}  // namespace

Result<void, KeyFileFailure> readPrivateKey(ByteView pem,
                                            const std::function<std::optional<SecretText>()>& ask,
                                            SecretKey& out) {
  constexpr std::size_t longest = std::size_t{1} << 16;
  if (pem.size() > longest) return Failure(KeyFileFailure::noPrivateKey);
  const Source source(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
  Passphrase passphrase{ask, false, {}};
  const PrivateKey key(
      source ? PEM_read_bio_PrivateKey(source.get(), nullptr, &Passphrase::give, &passphrase)
             : nullptr);
  if (key) {
    const bool taken = isP256(key.get()) && takeNumber(key.get(), out);
    if (!taken) return Failure(KeyFileFailure::otherKind);
    return {};
  }
  if (!passphrase.wanted) return Failure(KeyFileFailure::noPrivateKey);
  return Failure(passphrase.text ? KeyFileFailure::wrongPassphrase : KeyFileFailure::noPassphrase);
}

std::string_view explain(KeyFileFailure failure) {
  switch (failure) {
    case KeyFileFailure::noPrivateKey:
      return "no private key in PEM form (PKCS#8)";
    case KeyFileFailure::noPassphrase:
      return "is encrypted, and no passphrase was given";
    case KeyFileFailure::wrongPassphrase:
      return "cannot be decrypted: the passphrase is wrong, or the file is damaged";
    case KeyFileFailure::otherKind:
      return "is a private key of another kind; this needs one on the curve P-256";
  }
  return "";
}

}  // namespace brindle
