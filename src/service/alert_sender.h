#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/lifetime.h"
#include "base/log.h"
#include "core/alert_reporting.h"
#include "platform/background_transfer.h"
#include "platform/machine.h"
#include "platform/preferences.h"
#include "platform/random.h"
#include "platform/scheduler.h"
#include "service/alert_body_moves.h"
#include "service/alert_outbox.h"
#include "service/service_client.h"

namespace brindle {

/// Delivers the reports of unconfirmed occurrences with their photos: each a body on disk first,
/// then an upload that outlives this program, again and again until the service has answered. Main
/// thread only.
class AlertSender final : public AlertReporting {
 public:
  /// How one upload ended.
  enum class Result { delivered, retryLater, rejected };
  /// Identifier of the background session.
  static constexpr std::string_view sessionIdentifier = "brindle.alerts";
  static constexpr std::string_view onKey = "alerts.on";
  static constexpr std::string_view touchedKey = "alerts.touched";
  /// Bodies of one account that may wait; beyond that a report stays owed by whoever hands it over,
  /// so that a service that is gone for good cannot fill the disk.
  static constexpr std::size_t mostBodies = 200;
  /// The pause after so many failures of one body in a row.
  static Duration retryWait(std::size_t failures);

  struct Parts {
    Scheduler& scheduler;
    WorkerQueue& worker;
    Files& files;
    BackgroundTransfer& transfer;  ///< that of `sessionIdentifier`
    const ServiceClient& client;
    SessionSource& account;
    Preferences& defaults;
    const Machine& machine;
    Random& random;
    Log log;
    std::string outbox;  ///< the folder "outbox-alerts"
    std::string photos;  ///< where the photos of events lie
    /// Where earlier builds left their bodies; empty: nowhere. A folder of this person alone:
    /// what lies there is sent in their name.
    std::string temporary;
  };
  explicit AlertSender(Parts parts);

  /// Reads what earlier runs left and takes it up. Before the guard store starts, which asks what
  /// is held. Called once; blocks for one small file.
  void start();
  bool started() const { return started_; }
  /// Something changed for the better (the machine woke, the network is back): no more waiting.
  void hurry();

  /// This account is no more: its reports count as rejected, and their bodies go.
  void forgetAccount(const std::string& email);

  /// The owner wants alerts; on until somebody says otherwise.
  bool wantsAlerts() const { return parts_.defaults.boolean(onKey).value_or(true); }
  [[nodiscard]] bool setWantsAlerts(bool wanted);

  /// One body that waits, for a person who asks.
  struct Waiting {
    Uuid id;
    enum class Why { onItsWay, waitsForRetry, notSignedIn } why = Why::onItsWay;
    std::size_t failures = 0;  ///< in a row, in this run
  };
  std::vector<Waiting> waiting() const;
  std::size_t stillQueued() const { return outbox_.all().size(); }

  void handOver(const UnlockEvent& event, std::function<void(HandOver)> done) override;
  void handOver(const CameraOffAlert& alert, std::function<void(HandOver)> done) override;
  bool holds(const Uuid& id) const override;
  void withdraw(const Uuid& event) override;
  [[nodiscard]] Subscription onResult(
      std::function<void(const Uuid& id, AlertState result)> ended) override {
    return results_.add(std::move(ended));
  }

 private:
  struct Sending {
    bool underWay = false;
    std::size_t failures = 0;
    Timer retry;
  };

  void take(const Uuid& id, AlertFields fields, const std::vector<FileName>& photos,
            std::function<void(HandOver)> done);
  bool roomFor(const std::string& email) const;
  std::string label(const AlertBody& body) const;
  bool mayBeSent(const AlertBody& body) const;
  void sendAll();
  void send(const Uuid& id);
  void taken(const TransferResult& result);
  void ended(const AlertBody& body, Result result);
  void failed(const AlertBody& body);
  void forget(const Uuid& id) { sending_.erase(id); }
  void takeUp(const std::vector<std::string>& labels);
  void settleIn();
  void moveEarlier();
  void moved(const MovedAlertBodies& moved, const std::string& email);
  void adopted(const Uuid& id);
  bool dropIfLapsed(const AlertBody& body);

  Parts parts_;
  AlertOutbox outbox_;
  bool started_ = false, tookUp_ = false, moveBegun_ = false;
  std::map<Uuid, Sending> sending_;
  std::set<Uuid> composing_;            ///< being written for the first time
  std::set<std::string> earlierTasks_;  ///< labels of uploads that earlier runs began
  std::set<std::string> earlierDone_;   ///< files of earlier builds that were answered
  Listeners<const Uuid&, AlertState> results_;
  Timer loadAgain_;
  Subscription sessionChanges_;
  Lifetime lifetime_;
};

}  // namespace brindle
