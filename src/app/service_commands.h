#pragma once

#include "app/alert_service.h"
#include "app/command_session.h"
#include "app/service_text.h"
#include "app/vault_commands.h"
#include "core/nightjar_store.h"

namespace brindle {

/// What commands ask of the account, the terms, the vault and what is owed to the alert service.
/// Main thread only.
class ServiceCommands {
 public:
  /// `openLink` takes a link that the desktop hands over; false where links come another way.
  ServiceCommands(NightjarStore& store, AlertService& service,
                  std::function<bool(const std::string&)> openLink)
      : store_(store), service_(service), openLink_(std::move(openLink)), vault_(service.vault()) {}

  static bool knows(const std::string& command);
  CommandHandler::Need needOf(const Request& request) const;
  void run(const Request& request, CommandHandler::Done done);
  ServiceFacts facts() const;

 private:
  void account(const Request& request, CommandHandler::Done done);
  Reply terms(const Request& request);
  Reply flip(const Request& request);

  NightjarStore& store_;
  AlertService& service_;
  std::function<bool(const std::string&)> openLink_;
  VaultCommands vault_;
};

}  // namespace brindle
