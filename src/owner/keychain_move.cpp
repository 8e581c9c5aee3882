#include "owner/keychain_move.h"

#include <algorithm>

#include "base/secret_text.h"
#include "owner/secret_names.h"

namespace brindle {

using namespace keychain_code;
using enum KeychainStore;

KeychainRead KeychainMove::find(std::string_view name, std::string_view account) {
  const std::string service = keychain_.service(name);
  if (marks_.of(service)) {
    keychain_.log().notice("%{public}s not asked: marked moved", name);
    return {itemNotFound, {}};
  }
  marks_.countAsk();
  KeychainRead found = keychain_.read(legacy, name, account, /*quietWhenAbsent=*/true);
  if (found.code == itemNotFound) {
    keychain_.log().notice("%{public}s absent: %{public}d, marked moved", name, found.code);
    marks_.set(service, KeychainMark::absent);
  } else if (found.code == success && !pairs(name, account)) {
    keychain_.log().notice(
        "%{public}s not moved: it doesn't pair with the one here, the legacy item is kept", name);
    marks_.set(service, KeychainMark::kept);
    return {itemNotFound, {}};
  } else if (found.code == success) {
    move(name, account, found.data);
  }
  return found;
}

/// A question and its answer are written together. One of an earlier version must not end up beside
/// the other of this version: the owner would be asked one thing and expected to answer another.
bool KeychainMove::pairs(std::string_view name, std::string_view account) {
  const std::string_view partner = secret_names::partnerOf(name);
  if (partner.empty() || marks_.of(keychain_.service(partner)) != KeychainMark::written) {
    return true;
  }
  return keychain_.read(dataProtection, partner, account, true).code == itemNotFound;
}

void KeychainMove::move(std::string_view name, std::string_view account, ByteView data) {
  const bool copied = keychain_.write(dataProtection, name, account, data) == success;
  KeychainRead copy;
  if (copied) copy = keychain_.read(dataProtection, name, account);
  const bool verified = copied && copy.code == success && std::ranges::equal(copy.data, data);
  if (verified) marks_.set(keychain_.service(name), KeychainMark::moved);
  wipe(copy.data);
  if (!verified || keychain_.remove(legacy, name, account) != success) {
    keychain_.log().notice("move of %{public}s not completed: the legacy item is kept", name);
  }
}

}  // namespace brindle
