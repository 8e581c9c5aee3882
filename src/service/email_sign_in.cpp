#include "service/email_sign_in.h"

#include <algorithm>
#include <utility>

#include "base/json_writer.h"
#include "base/secret_text.h"
#include "service/form_query.h"
#include "service/pkce.h"

namespace brindle {
namespace {

// Only the machine that asked for a link can use it: the service gives out a code, this the state.
constexpr const char* stateKey = "account.pendingState";
constexpr const char* emailKey = "account.pendingEmail";

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

/// Enough to catch a slip of the keyboard; whether mail arrives there is for the service to find.
bool looksLikeEmail(std::string_view text) {
  const std::size_t at = text.find('@');
  const bool spaced = std::ranges::any_of(text, [](char c) { return c >= 0 && c <= ' '; });
  return !spaced && at != std::string_view::npos && at > 0 && at + 1 < text.size() &&
         text.find('@', at + 1) == std::string_view::npos;
}

}  // namespace

Bytes jsonBody(const std::vector<std::pair<std::string_view, std::string>>& fields) {
  std::string text;
  JsonWriter out(text);
  out.beginObject();
  for (const auto& [name, value] : fields) out.field(name, value);
  out.endObject();
  Bytes body = bytesOf(text);
  wipe(text);
  return body;
}

std::string EmailSignIn::pendingEmail() const {
  return services_.preferences.text(emailKey).value_or("");
}

void EmailSignIn::ask(const std::string& email,
                      std::function<void(std::optional<AccountError>)> done) {
  const std::string address(trimmed(email));
  if (!looksLikeEmail(address)) return done(AccountError::badEmail);
  const auto state = randomToken(services_.random);
  if (!state) return done(AccountError::other);
  // Stored before the request: the link may be followed after a crash that swallows the answer.
  if (!services_.preferences.change({{stateKey, *state}, {emailKey, address}})) {
    return done(AccountError::notSaved);
  }
  ServiceRequest request;
  request.path = endpoints::verifyStart;
  request.contentType = endpoints::json;
  request.body = jsonBody({{"email", address}, {"state", *state}});
  request.needsToken = false;
  request_ = client_.send(request, [this, done = std::move(done)](const ServiceAnswer& answer) {
    asked(answer, done);
  });
}

void EmailSignIn::asked(const ServiceAnswer& answer,
                        const std::function<void(std::optional<AccountError>)>& done) {
  request_.end();
  if (answer.answer == AnswerClass::done) return done(std::nullopt);
  forget();
  done(accountError(answer));
}

void EmailSignIn::giveUp() {
  if (!request_) return;
  request_.end();
  forget();
}

std::optional<SignInProof> EmailSignIn::proofOf(std::string_view link) const {
  if (!link.starts_with(std::string(appScheme) + ":")) return std::nullopt;
  const auto code = queryField(link, "code");
  const auto state = queryField(link, "state");
  const auto awaited = services_.preferences.text(stateKey);
  if (!awaited || !code || state != awaited) {
    services_.log.notice("sign-in link: not taken, awaited %{bool,public}d, whole %{bool,public}d",
                         awaited.has_value(), code && state);
    return std::nullopt;
  }
  return SignInProof{"Email", endpoints::verifyFinish, {{"code", *code}, {"state", *state}}};
}

void EmailSignIn::forget() {
  if (!services_.preferences.get(stateKey)) return;
  if (!services_.preferences.change({{stateKey, std::nullopt}, {emailKey, std::nullopt}})) {
    services_.log.notice("sign-in link: could not be forgotten");
  }
}

}  // namespace brindle
