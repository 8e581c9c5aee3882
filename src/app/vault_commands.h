#pragma once

#include <string>

#include "app/command_session.h"
#include "app/vault_service.h"
#include "app/vault_text.h"

namespace brindle {

/// What commands ask of the sealed vault. Main thread only.
class VaultCommands {
 public:
  explicit VaultCommands(VaultService& vault) : vault_(vault) {}

  /// It changes nothing, and tells nothing that `account` and `outbox` do not.
  static bool onlyLooks(const Request& request);
  void run(const Request& request, CommandHandler::Done done);
  VaultFacts facts() const;

 private:
  Reply turn(bool on);
  void showKeys(bool json, CommandHandler::Done done);
  void setUp(const CommandHandler::Done& done);
  void lookUp(const Request& request, CommandHandler::Done done);
  void join(const std::string& code, const CommandHandler::Done& done);

  VaultService& vault_;
  std::string lookedUp_;  ///< the code whose organisation the person was shown last
  Lifetime lifetime_;
};

}  // namespace brindle
