#pragma once

#include <string>
#include <string_view>

#include "base/log.h"
#include "platform/browser.h"
#include "platform/preferences.h"
#include "service/service_client.h"

namespace brindle {

/// The vault's pages at the service, shown in the browser: none of any other place. Main thread
/// only.
class VaultSetup {
 public:
  struct Parts {
    Browser& browser;
    Preferences& defaults;
    const ServiceClient& client;
    Log log;
  };
  explicit VaultSetup(Parts parts) : parts_(parts) {}

  /// Where the owner makes their key.
  std::string page() const;
  /// Shows where a vault is set up; from now on its key is awaited. False: there is no service.
  [[nodiscard]] bool openSetup(Browser::Failed failed);
  /// Shows the page that a `LinkReply` names. False, and nothing shows: it names none, or one that
  /// is not at the service.
  [[nodiscard]] bool openLink(std::string_view reply, Browser::Failed failed);

 private:
  bool openURL(const std::string& page, Browser::Failed failed);

  Parts parts_;
  Subscription page_;
};

/// Whether two addresses have one scheme, host and port (RFC 6454, 4). False when either may not be
/// used at all.
bool sameOrigin(std::string_view one, std::string_view other);

}  // namespace brindle
