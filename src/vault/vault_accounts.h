#pragma once

#include <map>
#include <string>
#include <string_view>

#include "base/uuid.h"
#include "platform/preferences.h"

namespace brindle {

/// Under whose account the items of each event were handed over: one account has nearly all of
/// them, so only the events of others are listed. Main thread only.
class VaultAccounts {
 public:
  static constexpr std::string_view accountKey = "vault.account";
  static constexpr std::string_view othersKey = "vault.otherAccounts";

  explicit VaultAccounts(Preferences& defaults);

  /// The account of an event that was handed over; empty when none ever was.
  const std::string& of(const Uuid& event) const;
  /// The event's first item is handed over. False when that could not be stored.
  [[nodiscard]] bool enter(const Uuid& event, const std::string& email);
  /// Nothing of the event is left anywhere. What cannot be stored now goes with the next change.
  void forget(const Uuid& event);
  /// The account is gone, with all that was handed over under it.
  void forgetAccount(const std::string& email);

 private:
  bool store();

  Preferences& defaults_;
  std::string account_;
  std::map<Uuid, std::string> others_;
};

}  // namespace brindle
