#include "vault/vault_setup.h"

#include <algorithm>
#include <utility>

#include "vault/vault_key_set.h"
#include "vault/vault_replies_json.h"

namespace brindle {
namespace {

/// Scheme, host and port in one spelling; empty for an address that may not be used.
std::string originOf(std::string_view url) {
  if (!httpUrlAllowed(url)) return {};
  std::string origin(url.substr(0, url.find_first_of("/?#", url.find("://") + 3)));
  std::ranges::transform(origin, origin.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  const std::string_view usualPort = origin.starts_with("https:") ? ":443" : ":80";
  if (origin.ends_with(usualPort)) origin.resize(origin.size() - usualPort.size());
  return origin;
}

}  // namespace

bool sameOrigin(std::string_view one, std::string_view other) {
  const std::string origin = originOf(one);
  return !origin.empty() && origin == originOf(other);
}

std::string VaultSetup::page() const {
  return parts_.client.serviceURL() + std::string(endpoints::vaultSetupPage);
}

bool VaultSetup::openSetup(Browser::Failed failed) {
  if (!openURL(page(), std::move(failed))) return false;
  const bool kept = parts_.defaults.set(VaultKeySet::setupStartedKey, true);
  parts_.log.notice("vault setup: page opened, kept %{bool,public}d", kept);
  return true;
}

bool VaultSetup::openLink(std::string_view reply, Browser::Failed failed) {
  const auto link = readLinkReply(reply);
  return link && openURL(link->url, std::move(failed));
}

bool VaultSetup::openURL(const std::string& page, Browser::Failed failed) {
  const bool ours = sameOrigin(page, parts_.client.serviceURL());
  if (ours) page_ = parts_.browser.open(page, std::move(failed));
  if (!ours) parts_.log.notice("vault link: not opened, it isn't at the service");
  return ours;
}

}  // namespace brindle
