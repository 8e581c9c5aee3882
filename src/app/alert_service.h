#pragma once

#include <functional>
#include <string>

#include "app/services.h"
#include "app/vault_service.h"
#include "core/null_collaborators.h"
#include "owner/keychain_items.h"
#include "service/account.h"
#include "service/alert_sender.h"
#include "service/alert_watch.h"
#include "service/push_sync.h"

namespace brindle {

/// Everything that talks to the alert service, put together. Main thread only.
class AlertService {
 public:
  /// What it asks of the guard; called only after `start`.
  struct Guard {
    std::function<bool()> on;
    /// Whether the owner is proving themself for this event right now.
    std::function<bool(const Uuid& event)> proving;
    std::function<void()> turnOnRemotely;
  };
  struct Places {
    std::string data;       ///< the application's own folder
    std::string temporary;  ///< where builds before the outbox kept what they owed; empty: nowhere
  };

  AlertService(const Services& services, KeychainItems& items, const Places& places, Guard guard);

  /// The store's collaborators: these, those given, and of `others` the rest.
  GuardCollaborators among(NullCollaborators& others, WatchMonitoring& watch, AlarmSounding& alarm,
                           UnlockLogging& unlockLog);

  /// Before the guard store starts, which asks what is held already.
  void prepare();
  /// After the guard store started: reads the session and takes up what earlier runs owe.
  void start(const AlertWatch::Start& start);
  /// In place of `start`, for a command in a process of its own: the account alone. What the
  /// command causes is queued, and sent by `sendFromCommand` or by the next guard.
  void startForCommand() { account_.start(); }
  void sendFromCommand(bool guardOn) { watch_.start({.on = guardOn, .asLoginItem = false}); }

  Account& account() { return account_; }
  AlertWatch& watch() { return watch_; }
  AlertSender& alerts() { return alerts_; }
  PushSync& push() { return push_; }
  VaultService& vault() { return vault_; }

 private:
  void hurry();

  const Services services_;
  Account account_;
  ServiceClient client_;
  AlertWatch watch_;
  AlertSender alerts_;
  PushSync push_;
  VaultService vault_;
  Subscription wake_, networkReturn_, deletions_;
};

}  // namespace brindle
