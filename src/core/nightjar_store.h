#pragma once

#include <optional>
#include <string>

#include "core/arming.h"
#include "core/attempt_recording.h"
#include "core/camera_off_alerts.h"
#include "core/guard_services.h"
#include "core/guard_status.h"
#include "core/opening_folding.h"
#include "core/owner_proof.h"
#include "core/proof_activity.h"
#include "core/quit_wait.h"
#include "core/secrets_flow.h"
#include "core/session_mark.h"
#include "core/unlock_handling.h"
#include "core/unlock_monitor.h"
#include "core/update_settle.h"

namespace brindle {

/// The one owner of guard state: holds it, publishes it, and passes what happens to the rule
/// concerned (each in a file of its own). Main thread only; nothing but the first read blocks.
class NightjarStore final : public ProofSink {
 public:
  /// Seconds between an occurrence and its report, in the preferences.
  static constexpr std::string_view alertDelayKey = "alerts.delay";
  static constexpr std::int64_t longestAlertDelay = 3600;

  NightjarStore(const GuardServices& services, const GuardCollaborators& collaborators);
  ~NightjarStore() override = default;

  /// `command`: for a moment, while no guard runs. It watches nothing and leaves it to the guard to
  /// notice what happened meanwhile: an event needs somebody who stays for its photos.
  enum class Role { guard, command };
  /// Reads the history, takes up a guard that was left on, and begins to listen. Called once.
  void start(Role role = Role::guard);

  // ---- published; `onChange` is told once per turn of the main loop
  [[nodiscard]] Subscription onChange(std::function<void()> changed) {
    return observers_.add(std::move(changed));
  }
  bool armed() const { return arming_.armed; }
  const std::optional<ArmSource>& armedBy() const { return arming_.armedBy; }
  std::optional<WallTime> armedAt() const { return arming_.armedAt; }
  /// Turned on since the last lock signal: whoever did it has not left yet.
  bool armedThisSitting() const { return armedThisSitting_; }
  /// As stored: the newest is the last.
  const EventList& events() const { return history_.events(); }
  EventRef event(const Uuid& id) const { return history_.find(id); }  ///< null when there is none
  /// The occurrence whose "That was me" is awaited: the guarded window is up while there is one.
  std::optional<Uuid> pendingConfirm() const { return unlocks_.pendingConfirm(); }
  EventRef unconfirmedUnlock() const {  ///< that occurrence; null when there is none
    const auto pending = pendingConfirm();
    return pending ? history_.find(*pending) : nullptr;
  }
  /// An occurrence is being handled, which the next one may belong to.
  bool handlingUnlock() const { return unlocks_.current() != nullptr; }
  EventList unresolved() const { return history_.unresolved(); }
  /// Seconds until the event's report goes, rounded up; nothing when none is waiting to.
  std::optional<std::int64_t> holdSecondsLeft(const Uuid& id) const {
    return reports_.secondsLeft(id);
  }
  /// Reports whose time has come and that may not have been taken over yet.
  const std::set<Uuid>& reportsOwed() const { return owed_.owed(); }
  const std::set<Uuid>& clipsWithSound() const { return extras_.clipsWithSound(); }
  bool historyUnlocked() const { return historyUnlocked_; }
  bool turnOffRequested() const { return turnOffRequested_; }
  bool quitApproved() const { return quitApproved_; }
  int ownerChecksOpen() const { return ownerChecksOpen_; }
  /// The first steps and the repair: what the owner is led through.
  const SecretsFlow& secretsFlow() const { return flow_; }
  SecretState pinState() const { return flow_.states().pin; }
  SecretState secretAnswerState() const { return flow_.states().answer; }
  bool pinIsSet() const { return pinState() == SecretState::set; }
  bool hasSecretAnswer() const { return secretAnswerState() == SecretState::set; }
  bool pinUnreadable() const { return flow_.pinUnreadable(); }
  bool answerUnreadable() const { return flow_.answerUnreadable(); }
  /// The last turn-on was refused because a record can't be read; `askAgain` looks again.
  bool turnOnRefused() const { return flow_.turnOnRefused(); }
  bool askingAgain() const { return flow_.askingAgain(); }
  bool stillCantRead() const { return flow_.stillCantRead(); }
  const std::optional<std::string>& stateNotice() const { return flow_.stateNotice(); }
  bool updateWaitsForLock() const { return armed() && updateSettle_.updateWaits(); }
  bool cameraAllowed() const { return services_.camera.cameraAllowed(); }
  bool photographing() const { return photos_.underWay(); }
  std::int64_t alertDelay() const;  ///< seconds
  static bool isAlertDelay(std::int64_t s) { return s >= 0 && s <= longestAlertDelay; }
  GuardStatus status() const;

  // ---- intentions
  /// Asks the keychain first; `done` comes from the main loop. The guard is recorded as on once
  /// `whenRecorded` says so.
  void turnOn(ArmSource source, std::function<void(TurnOnOutcome)> done = {});
  /// Published for whoever shows the owner check; the guard goes off when its proof comes.
  void requestTurnOff();
  void cancelTurnOff();
  void askAgain();
  void beginOnboarding();
  void endOnboarding();
  /// The owner may choose a new PIN in place of one whose record can't be read. False while on, or
  /// when it can be read: then only a proof changes it.
  [[nodiscard]] bool beginReplacingPIN();
  void endReplacingPIN();
  void clearStateNotice();
  void cancelQuit();
  void lockHistory();
  /// False while on without a proof, out of range, or when it could not be stored.
  [[nodiscard]] bool setAlertDelay(std::int64_t seconds, const OwnerProof* proof = nullptr);
  /// "That was me", for one event. False when it is not there or needs no answer.
  bool thatWasMe(const Uuid& id, const OwnerProof& proof);
  /// It was not: the event stays in the history and needs nothing more; its report goes at once.
  bool keepInHistory(const Uuid& id, const OwnerProof& proof);
  bool deleteEvent(const Uuid& id, const OwnerProof& proof);
  /// The photos and clips of all events; the events stay.
  void deletePhotos(const OwnerProof& proof);
  /// Everything, with files that no event names and kept-aside copies. `done` when it is gone.
  void deleteAll(const OwnerProof& proof, std::function<void(PhotoVault::DeletedAll)> done = {});

  // ---- what happens
  /// A watched item or tripwire, told apart from others of its name by `item`.
  void opened(const Trigger& trigger, const std::optional<Uuid>& item = {});
  void occurred(const Trigger& trigger);  ///< lid, power, idle
  void proved(const OwnerProof& proof) override;
  bool ownerProved() const override { return ownerProvedAt_.has_value(); }
  /// That proof was given after the occurrence that awaits its answer, so it answers for that one
  /// too. A proof from before it says nothing of who is here now.
  bool provedSinceAsked() const { return ownerProved() && provedSinceAsked_; }
  std::uint64_t sitting() const override { return sitting_; }
  void wrongTry(WrongTry which) override;
  void ownerCheckOpened() override;
  void ownerCheckClosed() override;
  void ownerCheckUsed() override;
  /// Somebody is entering a proof for this event right now.
  bool beingProved(const Uuid& id) const {
    return pendingConfirm() == id && proofActivity_.busy(id);
  }

  // ---- the end
  /// `done` from the main loop once everything changed so far is on disk; not while saving fails.
  void whenRecorded(std::function<void()> done) override { saving_.whenRecorded(std::move(done)); }
  /// Stops listening, waits, bounded, for reports under way, closes what is unfinished and writes
  /// the last save. `done(false)` when that save failed.
  /// `systemEnds`: not the owner quits, the session or the machine ends.
  void prepareToQuit(std::function<void(bool saved)> done, bool systemEnds = false);

 private:
  void begin(std::optional<Trigger> trigger);
  void onUnlock();
  void onLock(LockSignal signal, WallTime date);
  void forgetProof();
  void resumeGuard(SinceLastRun since);
  TurnOnOutcome applyTurnOn(ArmSource source, const OwnerSecrets::States& secrets);
  void switchOn(ArmSource source);
  void turnOff();
  bool unlockUnderWay() const;
  bool owesAnything() const;
  SavedState snapshot() const;
  Duration alertDelayTime() const { return std::chrono::seconds(alertDelay()); }
  void changed();
  void publish();
  void secretsAre(const OwnerSecrets::States& states);

  GuardServices services_;
  GuardCollaborators collaborators_;

  Arming arming_;
  std::optional<std::string> updateInstall_;  // kept as read
  Role role_ = Role::command;
  SecretsFlow flow_;
  std::optional<WallTime> ownerProvedAt_, lastLockSignalAt_, lastUnlockSeenAt_;
  int ownerChecksOpen_ = 0;
  std::uint64_t sitting_ = 0;
  bool historyUnlocked_ = false, turnOffRequested_ = false, quitApproved_ = false;
  bool armedThisSitting_ = false, macAsleep_ = false, publishing_ = false;
  bool provedSinceAsked_ = false;

  ProofActivity proofActivity_;
  EventHistory history_;
  StateSaving saving_;
  EventFiles files_;
  EventPhotos photos_;
  OwedReports owed_;
  VaultHandOver copies_;
  AlertReports reports_;
  CameraOffAlerts cameraOff_;
  OccurrenceExtras extras_;
  UnlockHandling unlocks_;
  AttemptRecording attempts_;
  OpeningFolding folding_;
  UpdateSettle updateSettle_;
  UnlockMonitor monitor_;
  QuitWait quitWait_;

  Listeners<> observers_;
  std::vector<Subscription> cancellables_;
  Lifetime lifetime_;
};

}  // namespace brindle
