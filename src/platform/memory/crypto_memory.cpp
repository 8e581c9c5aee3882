#include "platform/memory/crypto_memory.h"

#include <cstring>

namespace brindle {

bool MemoryCrypto::works() {
  const std::lock_guard lock(mutex_);
  if (left_ == 0u) return false;
  if (left_) --*left_;
  return true;
}

bool MemoryCrypto::pbkdf2HmacSha256(ByteView secret, ByteView salt, unsigned iterations,
                                    Sha256& out) {
  {
    const std::lock_guard lock(mutex_);
    derivations_.push_back({iterations, secret.size(), salt.size()});
  }
  const std::uint64_t sizes[2] = {secret.size(), iterations};
  std::array<std::uint8_t, sizeof sizes> prefix;
  std::memcpy(prefix.data(), sizes, sizeof sizes);
  const std::array<ByteView, 3> pieces{prefix, secret, salt};
  return sha256(pieces, out);
}

bool MemoryCrypto::sha256(std::span<const ByteView> pieces, Sha256& out) {
  return works() && OpensslCrypto::sha256(pieces, out);
}

bool MemoryCrypto::isP256Public(const P256Public& key) {
  return works() && OpensslCrypto::isP256Public(key);
}

bool MemoryCrypto::p256Public(const SecretKey& key, P256Public& out) {
  return works() && OpensslCrypto::p256Public(key, out);
}

bool MemoryCrypto::p256Agree(const SecretKey& key, const P256Public& peer, SecretKey& out) {
  return works() && OpensslCrypto::p256Agree(key, peer, out);
}

bool MemoryCrypto::hkdfSha256(const SecretKey& secret, ByteView salt, std::string_view info,
                              SecretKey& out) {
  return works() && OpensslCrypto::hkdfSha256(secret, salt, info, out);
}

bool MemoryCrypto::sealAes256Gcm(const SecretKey& key, const GcmNonce& nonce,
                                 std::string_view authenticated, ByteView plain,
                                 std::span<std::uint8_t> cipher, GcmTag& tag) {
  return works() && OpensslCrypto::sealAes256Gcm(key, nonce, authenticated, plain, cipher, tag);
}

bool MemoryCrypto::openAes256Gcm(const SecretKey& key, const GcmNonce& nonce,
                                 std::string_view authenticated, ByteView cipher, const GcmTag& tag,
                                 std::span<std::uint8_t> plain) {
  return works() && OpensslCrypto::openAes256Gcm(key, nonce, authenticated, cipher, tag, plain);
}

ServiceReport MemoryCrypto::report() const {
  const std::lock_guard lock(mutex_);
  return {"crypto", "memory", left_ != 0u, left_ == 0u ? "told to fail" : "no slow derivation"};
}

void MemoryCrypto::setFailing(bool failing) {
  const std::lock_guard lock(mutex_);
  left_ = failing ? std::optional(0u) : std::nullopt;
}

void MemoryCrypto::failAfter(unsigned calls) {
  const std::lock_guard lock(mutex_);
  left_ = calls;
}

std::vector<MemoryCrypto::Derivation> MemoryCrypto::derivations() const {
  const std::lock_guard lock(mutex_);
  return derivations_;
}

}  // namespace brindle
