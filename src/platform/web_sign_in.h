#pragma once

#include <functional>
#include <string>

#include "base/subscription.h"
#include "platform/service_report.h"

namespace brindle {

/// An authorization in the person's browser that ends by a redirect back to this program
/// (OAuth 2.0 for native apps, RFC 8252).
struct WebSignInAsk {
  std::string callbackScheme;  ///< a private-use scheme (RFC 8252, 7.1), without the colon
  std::string callbackPath;    ///< "/oauth2redirect"
  /// The page to open, for the redirect URI that this system can receive: `callbackScheme` ":"
  /// `callbackPath`, or a loopback address (RFC 8252, 7.3). Asked once, inline.
  std::function<std::string(const std::string& redirectUri)> page;
};

struct WebSignInEnd {
  enum class How { redirected, cancelled, failed };
  How how = How::failed;
  std::string link;         ///< of `redirected`: the whole link, as it came; outside data
  std::string redirectUri;  ///< what `page` was asked with
  std::string problem;      ///< of `failed`, for a private log argument
};

/// Main thread only.
class WebSignIn {
 public:
  virtual ~WebSignIn() = default;
  /// One at a time: a new one cancels the one before. `done` from the main loop, once; ending the
  /// subscription gives up without `done`. A person who just closes the browser is not noticed
  /// everywhere: such an attempt ends as `cancelled` after ten
  /// minutes.
  [[nodiscard]] virtual Subscription begin(WebSignInAsk ask,
                                           std::function<void(WebSignInEnd)> done) = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
