#pragma once

#include <set>
#include <unordered_map>

#include "base/lifetime.h"
#include "core/alert_hold.h"
#include "core/event_history.h"
#include "core/guard_collaborators.h"
#include "core/owed_reports.h"
#include "core/photo_vault.h"
#include "core/report_retry.h"
#include "core/state_saving.h"
#include "core/vault_hand_over.h"

namespace brindle {

/// What is owed about events that nobody confirmed: held back for the alert delay, then recorded as
/// unconfirmed and handed over, again and again if need be. Main thread only.
class AlertReports {
 public:
  struct Parts {
    Scheduler& scheduler;
    BootClock& clock;
    EventHistory& history;
    PhotoVault& vault;
    OwedReports& owed;
    VaultHandOver& copies;
    StateSaving& saving;
    Log log;
    const GuardCollaborators& collaborators;
  };
  explicit AlertReports(const Parts& parts);

  void hold(const UnlockEvent& event, Duration delay, Duration elapsed = Duration::zero());
  /// After a start: what became of the event in earlier runs decides what goes on. Its hold goes on
  /// after `elapsed` of the delay, a report that is owed is handed over again.
  void resume(const UnlockEvent& event, Duration delay, Duration elapsed);
  /// A report that was handed over ended, perhaps one of an earlier run. False when no such event
  /// is there.
  bool ended(const Uuid& event, AlertState how);
  /// The owner gave an answer other than "that was me": no reason to wait any longer.
  void releaseNow(const Uuid& event);
  /// One more wrong try was made for it. What the unlock log says of it already is put right.
  void tried(const Uuid& event);
  /// Whatever becomes of the event, the unlock log keeps that nobody said it was them.
  void logUnconfirmed(const UnlockEvent& event);
  /// The event was confirmed or deleted: nothing is owed about it.
  void settle(const Uuid& event);
  bool holding(const Uuid& event) const { return hold_.running(event); }
  std::optional<std::int64_t> secondsLeft(const Uuid& event) const {
    return hold_.secondsLeft(event);
  }
  /// Before the end: what failed is tried once more at once.
  void hurry() { retry_.hurry(); }
  bool underWay() const { return !alertTask_.empty(); }

 private:
  void ranOut(const Uuid& event);
  void released(const Uuid& event);
  void report(const Uuid& event);
  void reported(const Uuid& event, HandOver how);
  void taken(const Uuid& event);
  void keepPhotos(const UnlockEvent& event);
  void givePhotosBack(const Uuid& event);

  Parts parts_;
  AlertHold hold_;
  ReportRetry retry_;
  std::set<Uuid> alertTask_;  ///< being handed over
  /// Photos that must not be deleted while their report is owed.
  std::unordered_map<Uuid, std::vector<FileName>> heldAlertPhotos_;
  Lifetime lifetime_;
};

}  // namespace brindle
