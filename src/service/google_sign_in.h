#pragma once

#include <string>

#include "base/log.h"
#include "base/subscription.h"
#include "platform/crypto.h"
#include "platform/http.h"
#include "platform/random.h"
#include "platform/web_sign_in.h"
#include "service/service_settings.h"
#include "service/sign_in_proof.h"

namespace brindle {

/// Gets an ID token from Google: OAuth 2.0 authorization code flow (RFC 6749, 4.1) with PKCE
/// (RFC 7636) in the person's browser (RFC 8252). One at a time; main thread only.
class GoogleSignIn {
 public:
  struct Services {
    WebSignIn& web;
    Http& http;
    Crypto& crypto;
    Random& random;
    Log log;
  };
  GoogleSignIn(Services services, std::string clientId, GoogleEndpoints endpoints);

  /// `done` from the main loop, once, unless given up; at once when there is nothing to begin.
  void begin(SignInStepDone done);
  void giveUp() { step_.end(); }

 private:
  std::string page(const std::string& redirectUri) const;
  void returned(const WebSignInEnd& end);
  void exchange(const std::string& code, const std::string& redirectUri);
  void exchanged(HttpAnswer answer);
  void end(SignInStep result);
  void fail(std::string_view what);

  Services services_;
  std::string clientId_;
  GoogleEndpoints endpoints_;
  std::string verifier_, challenge_, state_;
  SignInStepDone done_;
  Subscription step_;  ///< the browser, then the request
};

/// The private-use scheme of a Google client: its identifier with the labels in reverse.
std::string reversedClientId(std::string_view clientId);

}  // namespace brindle
