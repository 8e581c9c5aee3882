#include "platform/openssl/crypto_openssl.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <limits>
#include <memory>

#include "base/secret_text.h"

namespace brindle {
namespace {

bool fitsInt(std::size_t size) { return size <= std::numeric_limits<int>::max(); }

}  // namespace

bool OpensslCrypto::pbkdf2HmacSha256(ByteView secret, ByteView salt, unsigned iterations,
                                     Sha256& out) {
  if (!fitsInt(secret.size()) || !fitsInt(salt.size()) || !fitsInt(iterations) || iterations == 0) {
    return false;
  }
  // A null pointer would mean "no password" with a length of its own making.
  const char* text = secret.empty() ? "" : textOf(secret).data();
  const int done = PKCS5_PBKDF2_HMAC(text, static_cast<int>(secret.size()), salt.data(),
                                     static_cast<int>(salt.size()), static_cast<int>(iterations),
                                     EVP_sha256(), static_cast<int>(out.size()), out.data());
  if (done != 1) wipe(out.data(), out.size());
  return done == 1;
}

bool OpensslCrypto::sha256(std::span<const ByteView> pieces, Sha256& out) {
  const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                        &EVP_MD_CTX_free);
  if (!context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1) return false;
  for (const ByteView piece : pieces) {
    if (EVP_DigestUpdate(context.get(), piece.data(), piece.size()) != 1) return false;
  }
  unsigned size = 0;
  return EVP_DigestFinal_ex(context.get(), out.data(), &size) == 1 && size == out.size();
}

ServiceReport OpensslCrypto::report() const {
  Sha256 probe;
  const bool answers = OpensslCrypto().sha256({}, probe);
  return {"crypto", "OpenSSL", answers, OpenSSL_version(OPENSSL_VERSION)};
}

}  // namespace brindle
