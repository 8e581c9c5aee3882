#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "base/lifetime.h"
#include "platform/opened_links.h"
#include "service/account_deletion.h"
#include "service/apple_sign_in_flow.h"
#include "service/email_sign_in.h"
#include "service/google_sign_in.h"
#include "service/live_terms.h"
#include "service/session_keeper.h"
#include "service/terms_gate.h"

namespace brindle {

/// What a person is shown of the account.
struct AccountStatus {
  std::string state;     ///< "session", "pending", "deleting", or empty: nobody is signed in
  std::string email;     ///< signed in, awaited, or being deleted
  std::string provider;  ///< "Apple", "Google" or "Email"
  std::string notice;    ///< what the person should know, one sentence a line; may be empty
  bool loaded = false;   ///< false until the keychain has answered
  bool signingIn = false;
  bool operator==(const AccountStatus&) const = default;
};

/// Who is signed in, the three ways of becoming it, and the two ways out. Main thread only; what
/// an operation ends with comes from the main loop as a message for the person, empty when it
/// worked.
class Account final : public SessionSource {
 public:
  struct Services {
    Http& http;
    KeychainItems& items;
    WorkerQueue& worker;
    Preferences& preferences;
    Scheduler& scheduler;
    Crypto& crypto;
    Random& random;
    WebSignIn& web;
    AppleSignIn& apple;
    OpenedLinks& links;
    Log log;
    std::function<bool()> guardOn = {};  ///< empty: off
  };
  using Done = std::function<void(const std::string& message)>;

  Account(Services services, ServiceSettings settings);

  /// Reads the session, asks for the terms, and goes on with a deletion.
  void start();

  const std::optional<Session>& session() const override;
  std::string accountEmail() const override;
  [[nodiscard]] Subscription onSessionChange(std::function<void()> changed) override {
    return sessionChanged_.add(std::move(changed));
  }
  AccountStatus status() const;
  [[nodiscard]] Subscription onStatusChange(std::function<void()> changed) {
    return statusChanged_.add(std::move(changed));
  }

  /// The service has deleted the account of this address: whatever waits for it has to go. From the
  /// main loop, and once more after the next start, when it may have gone already.
  [[nodiscard]] Subscription onDeleted(std::function<void(const std::string& email)> deleted) {
    return deleted_.add(std::move(deleted));
  }

  // One sign-in at a time: a new one gives up the one before, unless that is already being stored.
  // Each needs the agreement to the terms; none changes the session before it has worked.
  void signInWithApple(Done done) { begin(Way::apple, {}, std::move(done)); }
  void signInWithGoogle(Done done) { begin(Way::google, {}, std::move(done)); }
  /// Ends when the link is sent; the state is "pending" until it is followed.
  void signInWithEmail(const std::string& email, Done done) {
    begin(Way::email, email, std::move(done));
  }
  void cancelSignIn() { giveUp(AccountError::other); }
  void signOut(const Done& done);
  /// Ends with the service's first answer; from then on the status tells.
  void deleteAccount(Done done);

  LiveTerms& terms() { return terms_; }
  TermsGate& gate() { return gate_; }
  const ServiceSettings& settings() const { return settings_; }

 private:
  enum class Way { none, apple, google, email, link, saving };

  void begin(Way way, const std::string& detail, Done done);
  void admitted(const std::string& detail);
  void askForLink(const std::string& email);
  void linkOpened(const std::string& link);
  void post(const SignInStep& step);
  void posted(std::string_view provider, ServiceAnswer answer);
  void save(Session session);
  void giveUp(AccountError why);
  void end(std::optional<AccountError> error);
  void tell(const Done& done, std::optional<AccountError> error);
  std::string message(AccountError error) const;
  std::string deletionNotice() const;
  void tellDeletion(const Done& done);
  std::string notices() const;
  void changed(bool session);

  Services services_;
  ServiceSettings settings_;
  SessionKeeper keeper_;
  ServiceClient client_;
  LiveTerms terms_;
  TermsGate gate_;
  GoogleSignIn google_;
  AppleSignInFlow apple_;
  EmailSignIn email_;
  AccountDeletion deletion_;
  std::optional<Session> nobody_;
  Way way_ = Way::none;
  Done done_;
  std::string agreedTerms_;  ///< those agreed to when the sign-in under way began
  std::string linkProblem_;  ///< what came of a link that was followed
  Subscription request_, linkSubscription_, keeperSubscription_, termsSubscription_;
  Listeners<> sessionChanged_, statusChanged_;
  Listeners<const std::string&> deleted_;
  Lifetime attempt_;
  Lifetime lifetime_;
};

}  // namespace brindle
