#include "platform/linux/web_sign_in_linux.h"

#include <memory>
#include <utility>

#include "platform/http.h"
#include "platform/linux/loopback_redirect.h"

namespace brindle {

namespace {

constexpr Duration patience = std::chrono::minutes(10);

/// The link is the redirect URI, whatever its query says.
bool comesBackTo(const std::string& redirectUri, const std::string& link) {
  if (!link.starts_with(redirectUri)) return false;
  const auto rest = link.substr(redirectUri.size());
  return rest.empty() || rest.front() == '?' || rest.front() == '#';
}

}  // namespace

/// All that waits for the person to come back.
struct LinuxWebSignIn::Attempt {
  std::unique_ptr<LoopbackRedirect> loopback;
  Subscription link;
  Subscription page;
  Timer patience;
};

Subscription LinuxWebSignIn::begin(WebSignInAsk ask, std::function<void(WebSignInEnd)> done) {
  using enum WebSignInEnd::How;
  end(cancelled);
  const auto attempt = std::make_shared<Attempt>();
  receive(*attempt, ask);
  attempt->patience = loop_.after(patience, lifetime_.guard([this] { end(cancelled); }));
  auto waiting = end_.expect(std::move(done), Subscription([attempt] { *attempt = {}; }));
  if (redirectUri_.empty()) {
    end(failed, {}, "no loopback address to come back to");
    return waiting;
  }
  const std::string page = ask.page(redirectUri_);
  if (!httpUrlAllowed(page)) {
    end(failed, {}, "the page has no address that may be opened");
    return waiting;
  }
  attempt->page = browser_.open(page, lifetime_.guard([this](const std::string& problem) {
    end(problem.empty() ? cancelled : failed, {}, problem);
  }));
  return waiting;
}

void LinuxWebSignIn::receive(Attempt& attempt, const WebSignInAsk& ask) {
  using enum WebSignInEnd::How;
  if (links_.registered(ask.callbackScheme)) {
    redirectUri_ = ask.callbackScheme + ":" + ask.callbackPath;
    attempt.link = links_.onLink(lifetime_.guard([this](const std::string& link) {
      if (comesBackTo(redirectUri_, link)) end(redirected, link);
    }));
    return;
  }
  attempt.loopback = std::make_unique<LoopbackRedirect>(
      loop_, ask.callbackPath, lifetime_.guard([this](const std::string& query) {
        end(redirected, redirectUri_ + "?" + query);
      }));
  redirectUri_ = attempt.loopback->listening() ? attempt.loopback->uri() : "";
}

void LinuxWebSignIn::end(WebSignInEnd::How how, std::string link, std::string problem) {
  end_.tell(loop_, {how, std::move(link), redirectUri_, std::move(problem)});
}

ServiceReport LinuxWebSignIn::report() const {
  const std::string way = browser_.describe();
  return {"web sign-in", "system browser", !way.empty(),
          way.empty() ? "neither a portal nor xdg-open can open a page" : way};
}

}  // namespace brindle
