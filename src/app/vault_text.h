#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/json_writer.h"
#include "vault/vault_keys.h"
#include "vault/web_vault.h"

namespace brindle {

/// What the sealed vault looks like, for a person or a program.
struct VaultFacts {
  WebVault::Status status;
  std::vector<VaultUploads::Waiting> queue;
  std::optional<Keys> keys;  ///< of this account, verified
  bool setupStarted = false;
};

/// The line of `brindle status`; empty while it is off and owes nothing.
std::string vaultLine(const VaultFacts& facts);
/// Its member of that command's JSON, and all of `vault status --json`.
void writeVaultStatus(JsonWriter& out, const VaultFacts& facts);

std::string vaultStatusText(const VaultFacts& facts);
std::string vaultKeysText(const VaultFacts& facts);
/// `problem`: why the set may be an older one; empty when it was just fetched.
std::string vaultKeysJson(const VaultFacts& facts, const std::string& problem);
std::string vaultQueueText(const VaultFacts& facts);
std::string vaultQueueJson(const VaultFacts& facts);

}  // namespace brindle
