#include "vault/vault_accounts.h"

#include "service/session.h"
#include "vault/vault_records.h"

namespace brindle {

VaultAccounts::VaultAccounts(Preferences& defaults)
    : defaults_(defaults),
      account_(defaults.text(accountKey).value_or("")),
      others_(readAccounts(defaults.text(othersKey).value_or(""))) {}

const std::string& VaultAccounts::of(const Uuid& event) const {
  const auto other = others_.find(event);
  return other == others_.end() ? account_ : other->second;
}

bool VaultAccounts::enter(const Uuid& event, const std::string& email) {
  if (sameAddress(of(event), email)) return true;
  const auto before = *this;
  if (account_.empty()) {
    account_ = email;
  } else if (sameAddress(account_, email)) {
    others_.erase(event);
  } else {
    others_[event] = email;
  }
  if (store()) return true;
  account_ = before.account_;
  others_ = before.others_;
  return false;
}

void VaultAccounts::forget(const Uuid& event) {
  if (others_.erase(event) > 0) (void)store();
}

void VaultAccounts::forgetAccount(const std::string& email) {
  std::erase_if(others_, [&](const auto& each) { return sameAddress(each.second, email); });
  if (sameAddress(account_, email)) account_.clear();
  (void)store();
}

bool VaultAccounts::store() {
  return defaults_.change(
      {{std::string(accountKey),
        account_.empty() ? std::optional<PreferenceValue>() : PreferenceValue(account_)},
       {std::string(othersKey),
        others_.empty() ? std::optional<PreferenceValue>() : accountsText(others_)}});
}

}  // namespace brindle
