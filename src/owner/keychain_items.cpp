#include "owner/keychain_items.h"

#include <algorithm>

#include "base/secret_text.h"

namespace brindle {

using namespace keychain_code;
using enum KeychainStore;

KeychainItems::KeychainItems(Keychain& keychain, KeychainMarks& marks, Log log,
                             std::string bundleId)
    : keychain_(keychain, log, std::move(bundleId)), marks_(marks), move_(keychain_, marks_) {}

int KeychainItems::reach() {
  const bool provisioned =
      provisioned_ ? *provisioned_ : provisioned_.emplace(keychain_.provisioned());
  if (!provisioned || probed_) return success;
  const int code = keychain_.probe();
  probed_ = code == success;
  return code;
}

bool KeychainItems::hasNone(int code) {
  // Builds without the entitlement keep their items in the legacy keychain and move nothing.
  if (code == missingEntitlement && provisioned_ == false) legacyOnly_ = true;
  return legacyOnly_;
}

KeychainRead KeychainItems::read(std::string_view name, std::string_view account) {
  if (const int code = reach(); code != success) return {code, {}};
  if (!legacyOnly_) {
    KeychainRead found = keychain_.read(dataProtection, name, account);
    if (found.code == success && !marks_.of(keychain_.service(name))) {
      marks_.set(keychain_.service(name), KeychainMark::verified);
    }
    if (found.code == itemNotFound) return move_.find(name, account);
    if (!hasNone(found.code)) return found;
  }
  return keychain_.read(legacy, name, account);
}

int KeychainItems::write(std::string_view name, ByteView data, std::string_view account) {
  if (const int code = reach(); code != success) return code;
  const std::string service = keychain_.service(name);
  if (!legacyOnly_) {
    const int code = keychain_.write(dataProtection, name, account, data);
    if (code == success) marks_.set(service, KeychainMark::written);
    if (!hasNone(code)) return code;
  }
  // A mark would keep the next launch from looking where the item now lies.
  marks_.forget(service);
  return keychain_.write(legacy, name, account, data);
}

int KeychainItems::remove(std::string_view name, std::string_view account) {
  return removeEverywhere(name, account).code;
}

KeychainItems::Deleted KeychainItems::removeEverywhere(std::string_view name,
                                                       std::string_view account) {
  Deleted result;
  if (const int code = reach(); code != success) return {.failures = 1, .code = code};
  const auto count = [&](int code, bool isLegacy) {
    if (code == itemNotFound) return;
    if (code == success) {
      ++result.all;
      result.inLegacy += isLegacy ? 1 : 0;
    } else {
      ++result.failures;
    }
    if (code != success || result.failures == 0) result.code = code;
  };
  const int here = legacyOnly_ ? itemNotFound : keychain_.remove(dataProtection, name, account);
  count(hasNone(here) ? itemNotFound : here, false);
  count(keychain_.remove(legacy, name, account), true);
  if (result.failures == 0 && !legacyOnly_) {
    marks_.set(keychain_.service(name), KeychainMark::absent);
  }
  return result;
}

std::optional<bool> KeychainItems::exists(std::string_view name, std::string_view account) {
  KeychainRead found = read(name, account);
  wipe(found.data);
  if (found.code == success) return true;
  return found.code == itemNotFound ? std::optional(false) : std::nullopt;
}

bool KeychainItems::mayAsk() const {
  return std::ranges::any_of(secret_names::all, [this](std::string_view name) {
    return !marks_.of(keychain_.service(name)).has_value();
  });
}

}  // namespace brindle
