#include "vault/vault_keys.h"

#include <algorithm>

#include "vault/vault_crypto.h"

namespace brindle {
namespace {

/// The key of a text, when it is the one that `keyId` names.
std::optional<P256Public> keyNamed(VaultCrypto& crypto, const std::string& text,
                                   const std::string& keyId) {
  const auto bytes = fromBase64url(text);
  const auto key =
      bytes ? crypto.parsePublicKey(*bytes) : std::unexpected(VaultCrypto::Failure::badKey);
  // An identifier is empty when it could not be computed: that names nothing.
  if (!key || keyId.empty() || crypto.keyIdentifier(*key) != keyId) return std::nullopt;
  return *key;
}

bool fits(VaultCrypto& crypto, const Org& org) {
  const auto key = keyNamed(crypto, org.publicKey, org.keyId);
  return key && !org.orgId.empty() && crypto.organisationIdentifier(*key) == org.orgId;
}

}  // namespace

bool keysFit(VaultCrypto& crypto, const Keys& keys) {
  if (keys.vault && !keyNamed(crypto, keys.vault->publicKey, keys.vault->keyId)) return false;
  return std::ranges::all_of(keys.orgs, [&](const Org& org) { return fits(crypto, org); });
}

std::vector<Bytes> recipientsOf(const Keys& keys) {
  std::vector<Bytes> all;
  const auto add = [&all](const std::string& text) {
    if (auto key = fromBase64url(text)) all.push_back(std::move(*key));
  };
  if (keys.vault) add(keys.vault->publicKey);
  for (const Org& org : keys.orgs) add(org.publicKey);
  return all;
}

}  // namespace brindle
