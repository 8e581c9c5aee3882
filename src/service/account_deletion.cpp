#include "service/account_deletion.h"

#include <utility>

namespace brindle {
namespace {

constexpr const char* deletingKey = "account.deleting";
constexpr const char* emailKey = "account.deletingEmail";  // stays until the start after the end
constexpr Duration retryWait = std::chrono::minutes(10);
constexpr int ok = 200;
constexpr int unauthorized = 401;

}  // namespace

AccountDeletion::AccountDeletion(Services services, const std::string& serviceURL, Told told)
    : services_(services),
      client_(services_.http, services_.keeper, serviceURL),
      told_(std::move(told)),
      underWay_(services_.preferences.boolean(deletingKey).value_or(false)) {}

void AccountDeletion::start() {
  const auto email = services_.preferences.text(emailKey);
  if (underWay_ || !email) return;
  // Not what an account has made since that was opened for the same person.
  if (!sameAddress(*email, services_.keeper.accountEmail())) told_.deleted(*email);
  (void)services_.preferences.remove(emailKey);  // else at another start
}

bool AccountDeletion::concerns(std::string_view email) const {
  const auto noted = services_.preferences.text(emailKey);
  return !noted || sameAddress(*noted, email);
}

bool AccountDeletion::begin(std::function<void()> answered) {
  const std::string email = services_.keeper.accountEmail();
  if (!services_.preferences.change({{deletingKey, true}, {emailKey, email}})) return false;
  underWay_ = true;
  answered_ = std::move(answered);
  send();
  told_.changed(true);
  return true;
}

void AccountDeletion::resume() {
  if (!underWay_) return;
  needsSignIn_ = false;
  send();
}

void AccountDeletion::send() {
  if (done_) return finish();
  ServiceRequest request;
  request.path = endpoints::accountDelete;
  request.contentType = endpoints::json;
  request.timeout = endpoints::accountDeleteTimeout;
  again_.cancel();
  request_ = client_.send(request, [this](const ServiceAnswer& answer) { sent(answer.status); });
  if (!request_) sent(unauthorized);
}

void AccountDeletion::sent(int status) {
  request_.end();
  if (status == ok) {
    done_ = true;
    finish();
  } else {
    services_.log.notice("account: not deleted yet, HTTP %{public}ld", status);
    needsSignIn_ = status == unauthorized;
    if (!needsSignIn_) tryLater();
    told_.changed(false);
  }
  if (const auto answered = std::exchange(answered_, nullptr)) answered();
}

void AccountDeletion::finish() {
  underWay_ = false;  // first: clearing the session is told, and would begin another try
  if (!services_.keeper.clear({{deletingKey, std::nullopt}})) {
    underWay_ = true;
    services_.log.notice("account: deleted, but that could not be stored");
    return tryLater();
  }
  services_.log.notice("account: deleted");
  done_ = needsSignIn_ = false;
  told_.changed(false);
  if (const auto email = services_.preferences.text(emailKey)) told_.deleted(*email);
}

void AccountDeletion::tryLater() {
  again_ = services_.scheduler.after(retryWait, [this] { send(); });
}

}  // namespace brindle
