#pragma once

#include <functional>
#include <string>

#include "base/log.h"
#include "platform/preferences.h"
#include "platform/scheduler.h"
#include "service/service_client.h"
#include "service/session_keeper.h"

namespace brindle {

/// The deletion of an account: asked for once, then tried until the service says that it is done,
/// however often this program ends meanwhile. Main thread only.
class AccountDeletion {
 public:
  struct Services {
    Http& http;
    SessionKeeper& keeper;
    Preferences& preferences;
    Scheduler& scheduler;
    Log log;
  };
  struct Told {
    /// Inline, when the state did; `begun` says that the session is no longer to be used.
    std::function<void(bool begun)> changed;
    /// Inline, when the service has deleted the account of this address, and once more at the next
    /// start: what this told to go may have been kept by the end of this run.
    std::function<void(const std::string& email)> deleted;
  };
  AccountDeletion(Services services, const std::string& serviceURL, Told told);

  /// Before the session is read.
  void start();

  bool underWay() const { return underWay_; }
  /// The service no longer knows the session: it goes on once the owner has signed in again.
  bool needsSignIn() const { return needsSignIn_; }
  /// Whether it may go on with a session of this address.
  bool concerns(std::string_view email) const;

  /// False when it could not be noted down, so that it was not begun. `answered` after the
  /// service's first answer, or the lack of one.
  [[nodiscard]] bool begin(std::function<void()> answered);
  /// Tries now: at start, and with a new session.
  void resume();

 private:
  void send();
  void sent(int status);
  void finish();
  void tryLater();

  Services services_;
  ServiceClient client_;
  Told told_;
  bool underWay_;
  bool done_ = false;  ///< the service's part is, ours could not be stored yet
  bool needsSignIn_ = false;
  std::function<void()> answered_;
  Subscription request_;
  Timer again_;
};

}  // namespace brindle
