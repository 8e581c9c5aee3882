#include "platform/memory/crypto_memory.h"

#include <cstring>

#include "platform/openssl/crypto_openssl.h"

namespace brindle {

bool MemoryCrypto::pbkdf2HmacSha256(ByteView secret, ByteView salt, unsigned iterations,
                                    Sha256& out) {
  const std::lock_guard lock(mutex_);
  derivations_.push_back({iterations, secret.size(), salt.size()});
  const std::uint64_t sizes[2] = {secret.size(), iterations};
  std::array<std::uint8_t, sizeof sizes> prefix;
  std::memcpy(prefix.data(), sizes, sizeof sizes);
  const std::array<ByteView, 3> pieces{prefix, secret, salt};
  return !failing_ && OpensslCrypto().sha256(pieces, out);
}

bool MemoryCrypto::sha256(std::span<const ByteView> pieces, Sha256& out) {
  const std::lock_guard lock(mutex_);
  return !failing_ && OpensslCrypto().sha256(pieces, out);
}

ServiceReport MemoryCrypto::report() const {
  const std::lock_guard lock(mutex_);
  return {"crypto", "memory", !failing_, failing_ ? "told to fail" : "no slow derivation"};
}

void MemoryCrypto::setFailing(bool failing) {
  const std::lock_guard lock(mutex_);
  failing_ = failing;
}

std::vector<MemoryCrypto::Derivation> MemoryCrypto::derivations() const {
  const std::lock_guard lock(mutex_);
  return derivations_;
}

}  // namespace brindle
