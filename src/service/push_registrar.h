#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/lifetime.h"
#include "platform/machine.h"
#include "platform/preferences.h"
#include "platform/scheduler.h"
#include "service/service_client.h"

namespace brindle {

/// Keeps the service's knowledge of this machine's push token in step with the token, the account
/// and the owner's switch. Main thread only.
class PushRegistrar {
 public:
  static constexpr std::string_view tokenKey = "push.registeredToken";
  static constexpr std::string_view emailKey = "push.registeredEmail";
  static constexpr std::string_view atKey = "push.registeredAt";

  struct Parts {
    Scheduler& scheduler;
    ServiceClient& client;
    const SessionSource& account;
    Preferences& defaults;
    const Machine& machine;
    std::string deviceId;
  };
  explicit PushRegistrar(Parts parts) : parts_(std::move(parts)) {}

  /// Empty: there is none.
  void setToken(std::string token);
  /// The owner wants this machine to take part, or not any more.
  void setWanted(bool wanted);
  /// Does what has to be done now, if anything; after every change, and when the network is back.
  void sync();

 private:
  using Standing = std::pair<std::string, std::string>;  ///< token and e-mail
  Standing registered() const;
  void post(std::string_view action, std::string body, Standing standing);
  void answered(const Standing& standing, AnswerClass answer);
  void remember(const Standing& standing);

  Parts parts_;
  std::string token_;
  bool wanted_ = false;
  bool tokenKnown_ = false;
  std::optional<Standing> refused_;  ///< not asked for again in this run
  std::size_t failures_ = 0;
  Timer retry_;
  Subscription request_;
  Lifetime lifetime_;
};

/// The pause before the next try after so many failures of a small request.
Duration pushRetryWait(std::size_t failures);

}  // namespace brindle
