#include "service/google_sign_in.h"

#include "base/secret_text.h"
#include "service/account_replies_json.h"
#include "service/form_query.h"
#include "service/pkce.h"

namespace brindle {

std::string reversedClientId(std::string_view clientId) {
  std::string reversed;
  while (true) {
    const std::size_t dot = clientId.rfind('.');
    if (dot == std::string_view::npos) return reversed.append(clientId);
    reversed.append(clientId.substr(dot + 1)).append(1, '.');
    clientId = clientId.substr(0, dot);
  }
}

GoogleSignIn::GoogleSignIn(Services services, std::string clientId, GoogleEndpoints endpoints)
    : services_(services), clientId_(std::move(clientId)), endpoints_(std::move(endpoints)) {}

void GoogleSignIn::begin(SignInStepDone done) {
  done_ = std::move(done);
  if (clientId_.empty()) return end(failedWith(AccountError::googleNotConfigured));
  const auto verifier = randomToken(services_.random);
  const auto state = randomToken(services_.random);
  const auto challenge = codeChallenge(services_.crypto, verifier.value_or(""));
  if (!verifier || !state || !challenge) return fail("no random bytes");
  verifier_ = *verifier;
  challenge_ = *challenge;
  state_ = *state;
  WebSignInAsk ask{reversedClientId(clientId_), "/oauth2redirect",
                   [this](const std::string& redirectUri) { return page(redirectUri); }};
  step_ = services_.web.begin(std::move(ask), [this](const WebSignInEnd& end) { returned(end); });
}

std::string GoogleSignIn::page(const std::string& redirectUri) const {
  return endpoints_.authorization + "?" +
         formEncoded({{"client_id", clientId_},
                      {"redirect_uri", redirectUri},
                      {"response_type", "code"},
                      {"scope", "openid email"},
                      {"code_challenge", challenge_},
                      {"code_challenge_method", "S256"},
                      {"state", state_},
                      {"prompt", "select_account"}});
}

void GoogleSignIn::returned(const WebSignInEnd& end) {
  if (end.how == WebSignInEnd::How::cancelled) return fail("cancelled");
  if (end.how == WebSignInEnd::How::failed) {
    services_.log.notice("google sign-in: no browser session, %{private}s", end.problem);
    return this->end(failedWith(AccountError::googleDidNotFinish));
  }
  const auto code = queryField(end.link, "code");
  // Anybody can send such a link: only one that carries this attempt's state is an answer to it.
  if (queryField(end.link, "state") != state_) return fail("another state came back");
  if (!code) return fail("no code came back");
  exchange(*code, end.redirectUri);
}

void GoogleSignIn::exchange(const std::string& code, const std::string& redirectUri) {
  HttpRequest request;
  request.method = HttpRequest::Method::post;
  request.url = endpoints_.token;
  request.headers = {{"Content-Type", "application/x-www-form-urlencoded"}};
  request.body = bytesOf(formEncoded({{"grant_type", "authorization_code"},
                                      {"code", code},
                                      {"code_verifier", verifier_},
                                      {"client_id", clientId_},
                                      {"redirect_uri", redirectUri}}));
  step_ = services_.http.send(std::move(request),
                              [this](HttpAnswer answer) { exchanged(std::move(answer)); });
}

void GoogleSignIn::exchanged(HttpAnswer answer) {
  const auto token = answer.status == 200 ? readIdToken(textOf(answer.body)) : std::nullopt;
  wipe(answer.body);
  if (!token) {
    services_.log.notice("google sign-in: no ID token, HTTP %{public}ld", answer.status);
    return end(failedWith(AccountError::googleDidNotFinish));
  }
  end(SignInProof{"Google", endpoints::google, {{"idToken", *token}}});
}

void GoogleSignIn::fail(std::string_view what) {
  services_.log.notice("google sign-in: not finished, %{public}s", what);
  end(failedWith(AccountError::googleDidNotFinish));
}

void GoogleSignIn::end(SignInStep result) {
  wipe(verifier_);
  wipe(state_);
  if (const auto done = std::exchange(done_, nullptr)) done(std::move(result));
}

}  // namespace brindle
