#pragma once

#include <functional>
#include <string>

#include "base/subscription.h"
#include "platform/service_report.h"

namespace brindle {

struct AppleSignInEnd {
  enum class How { authorized, cancelled, failed };
  How how = How::failed;
  std::string identityToken;  ///< of `authorized`
  std::string problem;        ///< of `failed`, for a private log argument
};

/// The platform's own Apple ID authorization, where it has one. Main thread only.
class AppleSignIn {
 public:
  virtual ~AppleSignIn() = default;
  /// Whether it can be offered at all.
  virtual bool available() const = 0;
  /// Asks for the e-mail address. `nonceHash` goes into the token as it stands. `done` from the
  /// main loop, once; ending the subscription gives up without `done`.
  [[nodiscard]] virtual Subscription begin(const std::string& nonceHash,
                                           std::function<void(AppleSignInEnd)> done) = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
