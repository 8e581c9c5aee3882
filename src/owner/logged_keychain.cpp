#include "owner/logged_keychain.h"

namespace brindle {

using namespace keychain_code;

std::string buildBundleId() {
#ifdef BRINDLE_RELEASED_APP
  return std::string(releasedBundleId);
#else
  return std::string(releasedBundleId) + ".dev";
#endif
}

std::string LoggedKeychain::service(std::string_view name) const {
  std::string service(name);
  if (bundleId_ == releasedBundleId) return service;
  return service + "@" + (bundleId_.empty() ? "unnamed" : bundleId_);
}

KeychainRead LoggedKeychain::read(KeychainStore store, std::string_view name,
                                  std::string_view account, bool quietWhenAbsent) {
  KeychainRead found = keychain_.read(store, {service(name), std::string(account)});
  if (found.code == itemNotFound) {
    if (!quietWhenAbsent) log_.notice("read %{public}s absent: %{public}d", name, found.code);
  } else if (found.code != success) {
    log_.notice("read %{public}s failed: %{public}d", name, found.code);
  } else if (found.data.empty()) {
    log_.notice("read %{public}s gave no data", name);
    found.code = io;
  }
  return found;
}

int LoggedKeychain::write(KeychainStore store, std::string_view name, std::string_view account,
                          ByteView data) {
  const int code = keychain_.write(store, {service(name), std::string(account)}, data);
  if (code != success) log_.notice("write %{public}s failed: %{public}d", name, code);
  return code;
}

int LoggedKeychain::remove(KeychainStore store, std::string_view name, std::string_view account) {
  const int code = keychain_.remove(store, {service(name), std::string(account)});
  if (code != success && code != itemNotFound) {
    log_.notice("delete %{public}s failed: %{public}d", name, code);
  }
  return code;
}

bool LoggedKeychain::provisioned() { return keychain_.provisioned(); }

int LoggedKeychain::probe() {
  const KeychainItem item{"brindle.probe", "owner"};
  const auto store = KeychainStore::dataProtection;
  const int code = keychain_.write(store, item, viewOf("probe"));
  if (code == success) {
    keychain_.remove(store, item);
  } else {
    log_.notice(
        "data protection keychain answered %{public}d in a provisioned build: "
        "its reads are unknown, never the legacy keychain",
        code);
  }
  return code;
}

}  // namespace brindle
