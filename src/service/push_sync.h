#pragma once

#include <deque>
#include <functional>
#include <string>
#include <string_view>

#include "base/lifetime.h"
#include "core/guard_collaborators.h"
#include "platform/notifications.h"
#include "platform/push_registration.h"
#include "platform/random.h"
#include "service/push_registrar.h"
#include "service/received_notices.h"

namespace brindle {

/// Tells the owner's other devices what happens here, and the owner what happens there. Main thread
/// only. A notice is worth having soon or not at all: it is not kept over the end of a run.
class PushSync final : public OtherDeviceNotices {
 public:
  /// The owner's switch; on until somebody says otherwise.
  static constexpr std::string_view switchKey = "push.otherDevices";
  static constexpr std::size_t mostWaiting = 32;
  static constexpr std::size_t mostTries = 6;

  struct Parts {
    Scheduler& scheduler;
    ServiceClient& client;
    SessionSource& account;
    Preferences& defaults;
    const Machine& machine;
    PushRegistration& push;
    Notifications& notifications;
    Random& random;
    Files& files;
    WorkerQueue& worker;
    std::string deviceId;
    std::string received;  ///< the file of the notices that arrived
  };
  explicit PushSync(Parts parts);

  /// The service asks for the guard to be turned on; the store has the last word.
  std::function<void()> onTurnOn;

  void start();
  bool on() const { return parts_.defaults.boolean(switchKey).value_or(true); }
  [[nodiscard]] bool setOn(bool on);
  /// The machine woke, or the network is back.
  void hurry();

  void send(const DeviceNotice& notice) override;
  const ReceivedNotices& received() const { return received_; }

 private:
  struct Waiting {
    std::string email;  ///< the account it is for, and no other
    std::string body;
    std::size_t tries = 0;
  };
  void pump();
  void answered(AnswerClass answer);
  void arrived(const Bytes& message);

  Parts parts_;
  PushRegistrar registrar_;
  ReceivedNotices received_;
  std::deque<Waiting> waiting_;
  Timer retry_;
  Subscription request_, listening_, sessionChanges_;
  Lifetime lifetime_;
};

}  // namespace brindle
