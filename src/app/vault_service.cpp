#include "app/vault_service.h"

namespace brindle {

VaultService::VaultService(const Services& services, SessionSource& account, ServiceClient& client,
                           const std::string& data)
    : scheduler_(services.scheduler),
      machine_(services.network.machine),
      crypto_(services.crypto, services.random),
      keys_(
          {services.scheduler, client, account, services.preferences, crypto_, Log(services.log)}),
      sharing_({services.scheduler, client, account, keys_, Log(services.log)}),
      setup_({services.network.browser, services.preferences, client, Log(services.log)}),
      web_({services.scheduler, services.vaultWork, services.files, services.network.vaultTransfer,
            client, account, services.preferences, services.network.machine, services.random,
            crypto_, keys_, Log(services.log), joinPath(data, "photos"),
            joinPath(data, "outbox-vault")}) {}

void VaultService::start() {
  keys_.start();
  web_.start();
}

}  // namespace brindle
