#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/lifetime.h"
#include "core/alert_watching.h"
#include "platform/machine.h"
#include "platform/system_power.h"
#include "platform/worker_queue.h"
#include "service/alert_watch_answering.h"
#include "service/alert_watch_check_ins.h"
#include "service/alert_watch_events.h"
#include "service/alert_watch_launch.h"
#include "service/alert_watch_status.h"
#include "service/device_id.h"
#include "service/heartbeat.h"
#include "service/outbox_move.h"
#include "service/sleep_hold.h"

namespace brindle {

/// Keeps the service informed while the guard is on and somebody is signed in, so that silence is
/// an alarm. Everything is on disk before it is sent, and owed until it is answered. The rooms do
/// the work; this is who they answer to. Main thread only.
class AlertWatch final : public AlertWatching {
 public:
  struct Parts {
    Scheduler& scheduler;
    Preferences& preferences;
    Files& files;
    WorkerQueue& worker;
    ServiceClient& client;
    BackgroundTransfer& background;  ///< of `AlertWatchSending::sessionIdentifier`
    SystemPower& power;
    ProcessActivity& activity;
    Machine& machine;
    Random& random;
    SessionSource& sessions;
    Log log;
  };
  struct Options {
    std::string outboxFolder;
    std::string photosFolder;
    std::string temporaryFolder;  ///< where an earlier build kept its bodies; empty: nowhere
    Duration heartbeatInterval = Heartbeat::usualInterval;
    Duration sleepHoldSeconds = std::chrono::seconds(20);  ///< less where the system allows less
    bool watchesSystemPower = true;
    std::function<double()> jitter;
    /// Whether the owner is proving themself for this event right now.
    std::function<bool(const Uuid& event)> proving;
  };
  /// The guard as the start of this run finds it.
  struct Start {
    bool on = false;
    bool asLoginItem = false;
  };

  AlertWatch(const Parts& parts, Options options);

  /// Once, after the guard's state was read. What is called before it is queued.
  void start(const Start& start);

  void guardOn(const ArmSource& source) override;
  void guardOff() override;
  void pending(const WatchedUnlock& unlock) override;
  void firstPhoto(const Uuid& event, const FileName& name) override;
  void extend(const Uuid& event) override;
  void cancel(const Uuid& event) override;
  void updating() override;
  void quitting(bool systemEnds) override;
  bool underWay() const override;

  /// The network is back, or something else makes a try worth while.
  void sendOwed();
  /// This account is no more: nothing is owed for it, not even a "cancel" to come.
  void forgetAccount(const std::string& email);
  /// The owner flips the backstop.
  void setBackstop(bool on) { switchBackstop(on, "the owner"); }
  AlertWatchStatus status() const;

  // Told of what happens; they must not call back.
  std::function<void(const AlertWatchOp&, AlertWatchChannel)> onSend;
  std::function<void(const AlertWatchOp&, AlertWatchChannel, const ServiceAnswer&)> onAnswer;
  /// An event's "pending" was accepted or refused for good.
  std::function<void(const Uuid& event, AlertWatchResult)> onResult;

 private:
  const Session* session() const;
  std::string_view signedInWord() const;
  WatchedMachine machine() const;
  bool wantsAlerts() const;
  void tellState();
  void tellAwake();
  void queueCheckIn(std::optional<std::string> reason = {});
  AlertWatchOp newOp(AlertWatchRoute route, const Uuid& event, const std::string& account);
  void queue(AlertWatchOp op);
  void sendNew(AlertWatchOutbox::Entry& entry);
  void photoWritten(AlertWatchOp op, bool written, Bytes& photo, Duration begun);
  void dropFollowers(const Uuid& event);
  void drop(const Uuid& id);
  void removeAbandoned();
  void ended(const AlertWatchOp& op, AlertWatchResult result, const ServiceAnswer& answer);
  void repeatExtend(const Uuid& event, Duration pause);
  void answered(const AlertWatchOp& op, AlertWatchChannel channel, const ServiceAnswer& answer);
  void sessionChanged();
  void willSleep(SleepPermission permission);
  void woke();
  void declareAsleep();
  void beat();
  void keepBeating();
  void switchBackstop(bool on, std::string_view by);

  Parts parts_;
  Options options_;
  std::string deviceId_;
  AlertWatchBodies bodies_;
  AlertWatchOutbox outbox_;
  AlertWatchEvents events_;
  OutboxMove move_;
  AlertWatchSending sending_;
  AlertWatchTurns turns_;
  AlertWatchAnswering answering_;
  AlertWatchCheckIns checkIns_;
  Heartbeat heartbeat_;
  SleepHolds sleepHolds_;
  bool started_ = false;
  bool on_ = false;
  bool systemEnds_ = false;
  std::string token_;  ///< that what is on its way was sent with
  int photosUnderWay_ = 0;
  std::map<Uuid, Timer> repeats_;  ///< of "extend"
  std::optional<AlertWatchStatus::CheckIn> lastCheckIn_;
  Subscription power_;
  Subscription sessionChanges_;
  Lifetime lifetime_;
};

}  // namespace brindle
