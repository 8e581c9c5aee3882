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
  /// `changed` inline, when the state did; `begun` says that the session is no longer to be used.
  AccountDeletion(Services services, const std::string& serviceURL,
                  std::function<void(bool begun)> changed);

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
  std::function<void(bool begun)> changed_;
  bool underWay_;
  bool done_ = false;  ///< the service's part is, ours could not be stored yet
  bool needsSignIn_ = false;
  std::function<void()> answered_;
  Subscription request_;
  Timer again_;
};

}  // namespace brindle
