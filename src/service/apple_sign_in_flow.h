#pragma once

#include <string>

#include "base/log.h"
#include "base/subscription.h"
#include "platform/apple_sign_in.h"
#include "platform/crypto.h"
#include "platform/random.h"
#include "service/sign_in_proof.h"

namespace brindle {

/// Gets an identity token from the platform. The token carries the hash of a nonce that only the
/// service is told, so that a token caught elsewhere is of no use. One at a time; main thread only.
class AppleSignInFlow {
 public:
  struct Services {
    AppleSignIn& apple;
    Crypto& crypto;
    Random& random;
    Log log;
  };
  explicit AppleSignInFlow(Services services) : services_(services) {}

  /// `done` once, unless given up; at once when there is nothing to begin.
  void begin(SignInStepDone done);
  void giveUp() { step_.end(); }

 private:
  void returned(const AppleSignInEnd& end, const SignInStepDone& done);

  Services services_;
  std::string nonce_;
  Subscription step_;
};

}  // namespace brindle
