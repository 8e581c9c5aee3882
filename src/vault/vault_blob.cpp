#include "vault/vault_blob.h"

#include <algorithm>

namespace brindle {

bool deriveWrapKey(Crypto& crypto, const SecretKey& own, const P256Public& peer,
                   const P256Public& ephemeral, const P256Public& recipient, SecretKey& out) {
  SecretKey shared;
  std::array<std::uint8_t, 2 * std::tuple_size_v<P256Public>> salt;
  std::ranges::copy(recipient, std::ranges::copy(ephemeral, salt.begin()).out);
  return crypto.p256Agree(own, peer, shared) && crypto.hkdfSha256(shared, salt, wrapInfo, out);
}

}  // namespace brindle
