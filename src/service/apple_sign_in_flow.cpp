#include "service/apple_sign_in_flow.h"

#include "service/pkce.h"

namespace brindle {

void AppleSignInFlow::begin(SignInStepDone done) {
  if (!services_.apple.available()) return done(failedWith(AccountError::appleNotAvailable));
  const auto nonce = randomToken(services_.random);
  const auto hash = sha256Hex(services_.crypto, nonce.value_or(""));
  if (!nonce || !hash) return done(failedWith(AccountError::other));
  nonce_ = *nonce;
  step_ = services_.apple.begin(
      *hash, [this, done = std::move(done)](const AppleSignInEnd& end) { returned(end, done); });
}

void AppleSignInFlow::returned(const AppleSignInEnd& end, const SignInStepDone& done) {
  if (end.how == AppleSignInEnd::How::authorized) {
    return done(SignInProof{
        "Apple", endpoints::apple, {{"identityToken", end.identityToken}, {"nonce", nonce_}}});
  }
  services_.log.notice("apple sign-in: not finished, cancelled %{bool,public}d: %{private}s",
                       end.how == AppleSignInEnd::How::cancelled, end.problem);
  done(failedWith(AccountError::other));
}

}  // namespace brindle
