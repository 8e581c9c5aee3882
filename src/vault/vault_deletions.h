#pragma once

#include <deque>
#include <functional>
#include <map>
#include <set>

#include "base/lifetime.h"
#include "vault/vault_accounts.h"
#include "vault/vault_parts.h"

namespace brindle {

/// Has the service delete what it keeps of events, a few at a time, until it has confirmed each.
/// Main thread only.
class VaultDeletions {
 public:
  static constexpr std::string_view pendingKey = "vault.pendingDeletes";
  static constexpr std::string_view deletedKey = "vault.deleted";
  static constexpr std::size_t mostAtOnce = 3;
  /// Confirmed ones that are remembered, the latest.
  static constexpr std::size_t mostDeleted = 1000;
  /// So many of them asked for in one turn of the loop are each on disk when the call returns;
  /// those of a whole history cleared at once are together at the end of the turn.
  static constexpr std::size_t mostStoredSingly = 8;
  /// The pause after the service said that it knows nothing of the event, or of deleting.
  static constexpr Duration unknownPause = std::chrono::hours(24);

  VaultDeletions(const VaultParts& parts, VaultAccounts& accounts, std::function<void()> changed);

  /// Nothing when it is under way or was confirmed.
  void ask(const Uuid& event);
  /// An upload of the event was answered although the event is being deleted, or was.
  void uploadAnswered(const Uuid& event);
  /// One was on its way and was given up: the service may have it whole and take it in after the
  /// deletion, so that once nothing can arrive any more it is asked again. Goes before `ask`.
  void uploadGivenUp(const Uuid& event);
  /// The account is gone, and with it all that the service kept under it.
  void forgetAccount(const std::string& email);
  /// Being deleted, or deleted: nothing of it is uploaded.
  bool covers(const Uuid& event) const;
  /// Tries each that is pending once, until several in a row have failed.
  void run();
  std::size_t pending() const { return pendingDeletes_.size(); }

 private:
  void askAgain(const Uuid& event);
  bool maySend(const Uuid& event) const;
  void pump();
  void send(const Uuid& event);
  void answered(const Uuid& event, const ServiceAnswer& answer);
  void confirmed(const Uuid& event);
  void storeAsked();
  void storeAnswered();
  void store();

  const VaultParts& parts_;
  VaultAccounts& accounts_;
  std::function<void()> changed_;
  std::set<Uuid> pendingDeletes_;  ///< those under way as well
  std::map<Uuid, Subscription> deleting_;
  std::deque<Uuid> deleted_;          ///< the latest last
  std::map<Uuid, WallTime> unknown_;  ///< when the service knew nothing of it
  std::set<Uuid> again_;              ///< an upload was answered while it was under way
  std::map<Uuid, Timer> mayArrive_;   ///< given up on its way, a moment ago
  std::deque<Uuid> round_;            ///< still to be tried in this run
  std::size_t failuresInARow_ = 0;
  std::size_t storedThisTurn_ = 0;
  bool ready_ = false;
  bool unstored_ = false;
  Timer storing_;
  Lifetime lifetime_;
};

}  // namespace brindle
