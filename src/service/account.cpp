#include "service/account.h"

#include <utility>

#include "base/secret_text.h"
#include "service/session_json.h"

namespace brindle {

Account::Account(Services services, ServiceSettings settings)
    : services_(std::move(services)),
      settings_(std::move(settings)),
      keeper_({services_.items, services_.worker, services_.preferences, services_.scheduler,
               services_.log}),
      client_(services_.http, *this, settings_.serviceURL),
      terms_({services_.http, *this, services_.preferences, services_.scheduler, services_.log},
             settings_.serviceURL),
      gate_({terms_, *this, services_.preferences, services_.scheduler, services_.guardOn,
             settings_.build}),
      google_({services_.web, services_.http, services_.crypto, services_.random, services_.log},
              settings_.googleClientId, settings_.google),
      apple_({services_.apple, services_.crypto, services_.random, services_.log}),
      email_({services_.preferences, services_.random, services_.log}, client_),
      deletion_(
          {services_.http, keeper_, services_.preferences, services_.scheduler, services_.log},
          settings_.serviceURL,
          {[this](bool begun) { changed(begun); },
           [this](const std::string& email) {
             services_.scheduler.post(lifetime_.guard([this, email] { deleted_.tell(email); }));
           }}) {}

void Account::start() {
  linkSubscription_ = services_.links.onLink([this](const std::string& link) { linkOpened(link); });
  termsSubscription_ = terms_.onChange([this] { statusChanged_.tell(); });
  keeperSubscription_ = keeper_.onSessionChange([this] {
    deletion_.resume();
    changed(true);
  });
  deletion_.start();
  keeper_.load();
  terms_.start();
}

const std::optional<Session>& Account::session() const {
  return deletion_.underWay() ? nobody_ : keeper_.session();
}

std::string Account::accountEmail() const {
  return deletion_.underWay() ? std::string() : keeper_.accountEmail();
}

AccountStatus Account::status() const {
  AccountStatus status;
  status.loaded = keeper_.loaded();
  status.signingIn = way_ != Way::none;
  status.notice = notices();
  const std::string pending = email_.pendingEmail();
  if (const auto& session = keeper_.session()) {
    status.state = "session";
    status.email = session->email;
    status.provider = session->provider;
  } else if (!pending.empty()) {
    status.state = "pending";
    status.email = pending;
  }
  if (deletion_.underWay()) status.state = "deleting";
  return status;
}

std::string Account::notices() const {
  std::string all;
  const auto add = [&all](std::string_view notice) {
    if (notice.empty()) return;
    if (!all.empty()) all += '\n';
    all += notice;
  };
  add(deletionNotice());
  add(linkProblem_);
  add(gate_.notice());
  if (gate_.updateNeeded()) add(updateNotice);
  add(settings_.problem);
  return all;
}

std::string Account::deletionNotice() const {
  if (!deletion_.underWay()) return {};
  return std::string(deletion_.needsSignIn() ? deletingNeedsSignInNotice : deletingNotice);
}

void Account::begin(Way way, const std::string& detail, Done done) {
  if (settings_.serviceURL.empty()) return tell(done, AccountError::noService);
  if (way_ == Way::saving) return tell(done, AccountError::other);
  giveUp(way_ == Way::google ? AccountError::googleDidNotFinish : AccountError::other);
  way_ = way;
  done_ = std::move(done);
  linkProblem_.clear();
  statusChanged_.tell();
  // The service may have newer terms than those that were agreed to.
  terms_.fetch(attempt_.guard([this, detail] { admitted(detail); }));
}

void Account::admitted(const std::string& detail) {
  // Whoever wants to be deleted need not agree to anything first.
  const bool agreed = gate_.hasAgreed();
  if (!agreed && !deletion_.underWay()) return end(AccountError::termsChanged);
  agreedTerms_ = agreed ? gate_.requiredVersion() : std::string();
  const SignInStepDone next = attempt_.guard([this](const SignInStep& step) { post(step); });
  switch (way_) {
    case Way::apple:
      return apple_.begin(next);
    case Way::google:
      return google_.begin(next);
    case Way::email:
      return askForLink(detail);
    case Way::link:
      if (const auto proof = email_.proofOf(detail)) return post(*proof);
      return end(AccountError::other);
    case Way::saving:
    case Way::none:
      return;
  }
}

void Account::askForLink(const std::string& email) {
  email_.ask(email, attempt_.guard([this](std::optional<AccountError> error) { end(error); }));
}

void Account::linkOpened(const std::string& link) {
  // A second click on the same link must not spoil the first: its code works once.
  if (way_ == Way::link || way_ == Way::saving || !email_.proofOf(link)) return;
  begin(Way::link, link, [this](const std::string& message) {
    linkProblem_ = message;
    statusChanged_.tell();
  });
}

void Account::post(const SignInStep& step) {
  if (!step) return end(step.error());
  ServiceRequest request;
  request.path = step->path;
  request.contentType = endpoints::json;
  request.body = jsonBody(step->fields);
  request.needsToken = false;
  request_ =
      client_.send(request, attempt_.guard([this, provider = step->provider](ServiceAnswer answer) {
        posted(provider, std::move(answer));
      }));
}

void Account::posted(std::string_view provider, ServiceAnswer answer) {
  auto session = answer.status == 200 ? readSession(textOf(answer.body)) : std::nullopt;
  if (session && way_ == Way::link && !sameAddress(session->email, email_.pendingEmail())) {
    // Whoever saw the state can have a link of their own made for it; the owner asked for theirs.
    session.reset();
    email_.forget();
  }
  if (!session) {
    services_.log.notice("account: not signed in with %{public}s, HTTP %{public}ld", provider,
                         answer.status);
    if (way_ == Way::link && answer.answer == AnswerClass::refused) email_.forget();
    return end(accountError(answer));
  }
  wipe(answer.body);
  if (deletion_.underWay() && !deletion_.concerns(session->email)) {
    return end(AccountError::otherAccount);
  }
  session->provider = provider;
  save(*std::move(session));
}

void Account::save(Session session) {
  way_ = Way::saving;
  session.termsVersion = agreedTerms_;
  session.acceptedAt.reset();
  if (!agreedTerms_.empty()) session.acceptedAt = services_.scheduler.wallTime();
  keeper_.save(std::move(session), [this](bool saved) {
    // The agreement itself is stored already; this adds that it held at the sign-in.
    if (saved && !agreedTerms_.empty() && !gate_.agree(agreedTerms_)) {
      services_.log.notice("account: time of agreement not stored");
    }
    if (saved) email_.forget();
    end(saved ? std::nullopt : std::optional(AccountError::notSaved));
  });
}

void Account::giveUp(AccountError why) {
  if (way_ == Way::none || way_ == Way::saving) return;
  attempt_.renew();
  google_.giveUp();
  apple_.giveUp();
  email_.giveUp();
  request_.end();
  end(why);
}

void Account::end(std::optional<AccountError> error) {
  way_ = Way::none;
  request_.end();
  tell(std::exchange(done_, nullptr), error);
  statusChanged_.tell();
}

void Account::signOut(const Done& done) {
  if (deletion_.underWay()) return tellDeletion(done);  // the session is needed to finish it
  giveUp(AccountError::other);
  const bool cleared = way_ != Way::saving && keeper_.clear();
  if (cleared) email_.forget();
  tell(done, cleared ? std::nullopt : std::optional(AccountError::notSaved));
}

void Account::deleteAccount(Done done) {
  if (deletion_.underWay()) return tellDeletion(done);
  if (!session()) return tell(done, AccountError::notSignedIn);
  giveUp(AccountError::other);
  if (!deletion_.begin([this, done] { tellDeletion(done); })) tell(done, AccountError::notSaved);
}

void Account::tellDeletion(const Done& done) {
  services_.scheduler.post(lifetime_.guard([this, done] { done(deletionNotice()); }));
}

void Account::tell(const Done& done, std::optional<AccountError> error) {
  if (!done) return;
  services_.scheduler.post(
      lifetime_.guard([done, text = error ? message(*error) : std::string()] { done(text); }));
}

std::string Account::message(AccountError error) const {
  return std::string(accountMessage(error, services_.guardOn && services_.guardOn()));
}

void Account::changed(bool session) {
  services_.scheduler.post(lifetime_.guard([this, session] {
    if (session) sessionChanged_.tell();
    statusChanged_.tell();
  }));
}

}  // namespace brindle
