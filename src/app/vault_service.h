#pragma once

#include <string>

#include "app/services.h"
#include "service/service_client.h"
#include "vault/org_sharing.h"
#include "vault/vault_setup.h"
#include "vault/web_vault.h"

namespace brindle {

/// The sealed vault, put together. Main thread only.
class VaultService {
 public:
  /// `data` is the application's own folder.
  VaultService(const Services& services, SessionSource& account, ServiceClient& client,
               const std::string& data);

  /// After the guard store started, and after the account did.
  void start();
  /// The machine woke, or the network is back.
  void hurry() { web_.hurry(); }

  WebVault& web() { return web_; }
  VaultKeySet& keys() { return keys_; }
  OrgSharing& sharing() { return sharing_; }
  Scheduler& scheduler() { return scheduler_; }
  VaultSetup& setup() { return setup_; }
  /// What organisations see this machine as.
  std::string deviceName() const { return machine_.name(); }

 private:
  Scheduler& scheduler_;
  const Machine& machine_;
  VaultCrypto crypto_;
  VaultKeySet keys_;
  OrgSharing sharing_;
  VaultSetup setup_;
  WebVault web_;
};

}  // namespace brindle
