#pragma once

#include <optional>
#include <string>

#include "platform/scheduler.h"
#include "service/session.h"

namespace brindle {

/// A session as a test wants it.
class SignedIn final : public SessionSource {
 public:
  explicit SignedIn(Scheduler& scheduler, const std::string& email = "eva@example.org")
      : scheduler_(scheduler) {
    signIn(email);
  }
  const std::optional<Session>& session() const override { return session_; }
  [[nodiscard]] Subscription onSessionChange(std::function<void()> changed) override {
    return listeners_.add(std::move(changed));
  }

  std::string accountEmail() const override { return email_; }

  void signIn(const std::string& email) {
    be(Session{"token of " + email, email, "Email", {}, {}});
  }
  void signOut() { be(std::nullopt); }
  /// Signed in, but the keychain does not give out the session.
  void lock(const std::string& email) {
    be(std::nullopt);
    email_ = email;
  }

 private:
  void be(std::optional<Session> session) {
    session_ = std::move(session);
    email_ = session_ ? session_->email : std::string();
    scheduler_.post([all = listeners_] { all.tell(); });
  }
  Scheduler& scheduler_;
  std::optional<Session> session_;
  std::string email_;
  Listeners<> listeners_;
};

}  // namespace brindle
