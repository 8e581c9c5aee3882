#pragma once

#include <string>
#include <vector>

#include "app/vault_text.h"
#include "base/json_writer.h"
#include "service/account.h"
#include "service/alert_sender.h"
#include "service/alert_watch.h"
#include "service/push_sync.h"

namespace brindle {

/// What the guard's dealings with the alert service look like, for a person or a program.
struct ServiceFacts {
  AccountStatus account;
  AlertWatchStatus watch;
  std::vector<AlertSender::Waiting> reports;
  std::vector<Uuid> notTakenOver;  ///< reports that could not be written down for sending yet
  bool wantsAlerts = true;
  VaultFacts vault = {};

  std::size_t owed() const { return watch.queued.size() + reports.size() + notTakenOver.size(); }
};

/// Lines of `status` about the service, and the members of its JSON.
std::string serviceStatusText(const ServiceFacts& facts);
void writeServiceStatus(JsonWriter& out, const ServiceFacts& facts);

std::string accountText(const AccountStatus& account);
std::string termsText(const LiveTerms& terms, const TermsGate& gate);

/// All that is owed and why it waits.
std::string outboxText(const ServiceFacts& facts);
std::string outboxJson(const ServiceFacts& facts);

}  // namespace brindle
