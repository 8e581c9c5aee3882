#include "service/account_deletion.h"

#include <utility>

namespace brindle {
namespace {

constexpr const char* deletingKey = "account.deleting";
constexpr const char* emailKey = "account.deletingEmail";
constexpr Duration retryWait = std::chrono::minutes(10);
constexpr int ok = 200;
constexpr int unauthorized = 401;

}  // namespace

AccountDeletion::AccountDeletion(Services services, const std::string& serviceURL,
                                 std::function<void(bool begun)> changed)
    : services_(services),
      client_(services_.http, services_.keeper, serviceURL),
      changed_(std::move(changed)),
      underWay_(services_.preferences.boolean(deletingKey).value_or(false)) {}

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
  changed_(true);
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
    changed_(false);
  }
  if (const auto answered = std::exchange(answered_, nullptr)) answered();
}

void AccountDeletion::finish() {
  underWay_ = false;  // first: clearing the session is told, and would begin another try
  if (!services_.keeper.clear({{deletingKey, std::nullopt}, {emailKey, std::nullopt}})) {
    underWay_ = true;
    services_.log.notice("account: deleted, but that could not be stored");
    return tryLater();
  }
  services_.log.notice("account: deleted");
  done_ = needsSignIn_ = false;
  changed_(false);
}

void AccountDeletion::tryLater() {
  again_ = services_.scheduler.after(retryWait, [this] { send(); });
}

}  // namespace brindle
