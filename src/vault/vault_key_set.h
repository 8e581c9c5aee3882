#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/lifetime.h"
#include "base/log.h"
#include "base/subscription.h"
#include "platform/preferences.h"
#include "platform/scheduler.h"
#include "service/service_client.h"
#include "vault/vault_crypto.h"
#include "vault/vault_keys.h"

namespace brindle {

/// Whom this account's items are sealed for: fetched, checked, and kept for when the service cannot
/// be reached. A set that fails one check changes nothing. Main thread only.
class VaultKeySet {
 public:
  static constexpr std::string_view keysKey = "vault.keys";
  /// Whose set that is: the service may leave the address out, or write another of the same person.
  static constexpr std::string_view accountKey = "vault.keysAccount";
  static constexpr std::string_view setupStartedKey = "vault.setupStarted";
  /// How old a set may be for a sealing, and how long a sealing waits for a newer one.
  static constexpr Duration freshFor = std::chrono::minutes(15);
  static constexpr Duration longestWait = std::chrono::seconds(5);

  struct Parts {
    Scheduler& scheduler;
    ServiceClient& client;
    SessionSource& account;
    Preferences& defaults;
    VaultCrypto& crypto;
    Log log;
  };
  /// A message for the person, empty when it worked. From the main loop.
  using Done = std::function<void(const std::string& message)>;

  /// Knows at once what was kept last time, unless that fails the checks.
  explicit VaultKeySet(const Parts& parts);

  /// Fetches now, daily, and whenever somebody signs in.
  void start();
  /// While a fetch is running its end is shared.
  void refresh(Done done = {});
  /// Something changed at the service just now: an answer on its way may be older, so it is asked
  /// again. `done` from the main loop when that ended or after `longestWait`.
  void refreshAnew(std::function<void()> done);
  /// `done` from the main loop when `keys` is as new as a sealing needs it or can have it: at once,
  /// or after `longestWait` at most. One fetch is waited for once, however many items ask.
  void beforeSealing(std::function<void()> done);

  /// The set of the account that this machine has now, verified; null when there is none.
  const Keys* keys() const;
  /// Empty: nothing can be sealed.
  std::vector<Bytes> recipients() const;
  /// There is none because the service could not say it yet: no answer, one that was no good set,
  /// or one that another sign-in may change.
  bool isOwed() const;
  /// The setup page was opened and no vault key has been seen since.
  bool setupStarted() const { return parts_.defaults.boolean(setupStartedKey).value_or(false); }

  /// Told after each fetch that gave a set, and whether others than before are to open what is
  /// sealed from now on.
  [[nodiscard]] Subscription onFetch(std::function<void(bool otherRecipients)> fetched) {
    return fetched_.add(std::move(fetched));
  }

 private:
  void load();
  void refreshDaily();
  void ask();
  void answered(const ServiceAnswer& answer);
  std::string taken(const ServiceAnswer& answer);
  void take(Keys keys);
  void finish(const std::string& message);
  bool isDue() const;
  void hold(std::function<void()> done);
  void releaseHeld();

  Parts parts_;
  std::optional<Keys> keys_;
  std::string keysAccount_;  ///< whose `keys_` are
  Subscription keysTask_;    ///< the fetch in flight
  std::string askedFor_;     ///< the account it is for
  std::string refusedFor_;   ///< the account that has none, as the service said last
  std::vector<Done> waiting_;
  std::vector<std::function<void()>> held_;
  Timer heldUntil_, dailyAwake_, dailyWall_;
  bool waitedOut_ = false;  ///< for the fetch in flight
  Subscription sessionChanges_;
  Listeners<bool> fetched_;
  Lifetime lifetime_;
};

}  // namespace brindle
