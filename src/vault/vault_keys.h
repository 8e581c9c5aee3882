#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/bytes.h"
#include "base/times.h"

namespace brindle {

class VaultCrypto;

struct VaultKey {
  std::string keyId;
  std::string publicKey;  ///< base64url of the 65 bytes
  bool operator==(const VaultKey&) const = default;
};

/// An organisation that gets copies too.
struct Org {
  std::string orgId;
  std::string name;
  std::string keyId;
  std::string publicKey;  ///< base64url of the 65 bytes
  WallTime joinedAt{};
  bool operator==(const Org&) const = default;
};

/// A join request that an organisation has not accepted yet: it gets nothing.
struct PendingOrg {
  std::string orgId;
  std::string name;
  WallTime requestedAt{};
  WallTime expiresAt{};
  bool operator==(const PendingOrg&) const = default;
};

/// Whom items are sealed for, as the service says it.
struct Keys {
  std::optional<VaultKey> vault;  ///< none until the owner has set the vault up
  std::vector<Org> orgs;
  std::vector<PendingOrg> pending;
  std::int64_t retentionDays = 0;  ///< how long the service keeps items
  std::string email;               ///< the account's address
  WallTime fetchedAt{};
  bool operator==(const Keys&) const = default;
};

/// A reply of the service, or the copy kept here. Nothing when it is no key set at all; nothing is
/// checked yet.
std::optional<Keys> readKeys(std::string_view text);
/// For the copy kept here.
std::string keysJson(const Keys& keys);

/// Whether every key is one, and is the one its identifiers are made of: nobody can put another key
/// in a recipient's place without these changing.
bool keysFit(VaultCrypto& crypto, const Keys& keys);
/// The owner's key, then those of the organisations in their order. Of keys that fit.
std::vector<Bytes> recipientsOf(const Keys& keys);

}  // namespace brindle
