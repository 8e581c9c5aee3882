#pragma once

#include <memory>
#include <optional>
#include <string>

#include "core/camera_capturing.h"
#include "core/guard_collaborators.h"
#include "core/guard_status.h"
#include "core/owner_proof.h"
#include "core/photo_vault.h"
#include "platform/boot_clock.h"
#include "platform/notifications.h"
#include "platform/preferences.h"
#include "platform/random.h"
#include "platform/scheduler.h"
#include "platform/screen_lock.h"
#include "platform/worker_queue.h"

namespace brindle {

/// What the store is built on. All of it outlives the store.
struct GuardServices {
  Scheduler& scheduler;
  BootClock& clock;
  ScreenLock& screen;
  Preferences& defaults;
  Notifications& notifications;
  Random& random;
  WorkerQueue& files;  ///< all writing of the history and the photos, in order
  PhotoVault& vault;
  CameraCapturing& camera;
  OwnerSecrets& secrets;
  Log log;
};

/// The one owner of guard state: holds it, publishes it, and passes what happens to the rule
/// concerned (each in a file of its own). Main thread only; nothing here blocks. Created once.
class NightjarStore final : public ProofSink {
 public:
  /// Seconds between an occurrence and its report, in the preferences.
  static constexpr std::string_view alertDelayKey = "alerts.delay";
  static constexpr std::int64_t longestAlertDelay = 3600;

  NightjarStore(const GuardServices& services, const GuardCollaborators& collaborators);
  ~NightjarStore() override;

  /// Reads the history, takes up a guard that was left on, and begins to listen. Blocks for the
  /// one read.
  void start();

  // ---- published; `onChange` is told once per turn of the main loop
  [[nodiscard]] Subscription onChange(std::function<void()> changed);
  bool armed() const;
  const std::optional<ArmSource>& armedBy() const;
  std::optional<WallTime> armedAt() const;
  /// As stored: the newest is the last.
  const EventList& events() const;
  EventRef event(const Uuid& id) const;  ///< null when there is none
  /// The occurrence whose "That was me" is awaited: the guarded window is up while there is one.
  std::optional<Uuid> pendingConfirm() const;
  EventRef unconfirmedUnlock() const;  ///< that occurrence; null when there is none
  EventList unresolved() const;
  /// Seconds until the event's report goes, rounded up; nothing when none is waiting to.
  std::optional<std::int64_t> holdSecondsLeft(const Uuid& id) const;
  bool historyUnlocked() const;
  bool turnOffRequested() const;
  bool quitApproved() const;
  int ownerChecksOpen() const;
  SecretState pinState() const;
  SecretState secretAnswerState() const;
  bool pinIsSet() const { return pinState() == SecretState::set; }
  bool hasSecretAnswer() const { return secretAnswerState() == SecretState::set; }
  bool pinUnreadable() const { return pinState() == SecretState::unreadable; }
  bool answerUnreadable() const { return secretAnswerState() == SecretState::unreadable; }
  /// The last turn-on was refused because a record can't be read; `askAgain` looks again.
  bool turnOnRefused() const;
  bool askingAgain() const;
  bool stillCantRead() const;
  const std::optional<std::string>& stateNotice() const;
  bool updateWaitsForLock() const;
  bool cameraAllowed() const;
  std::int64_t alertDelay() const;  ///< seconds
  GuardStatus status() const;

  // ---- intentions
  /// Asks the keychain first; `done` comes from the main loop. The guard is recorded as on once
  /// `whenRecorded` says so.
  void turnOn(ArmSource source, std::function<void(TurnOnOutcome)> done = {});
  /// Published for whoever shows the owner check; the guard goes off when its proof comes.
  void requestTurnOff();
  void cancelTurnOff();
  void askAgain();
  void clearStateNotice();
  /// False while on without a proof, out of range, or when it could not be stored.
  [[nodiscard]] bool setAlertDelay(std::int64_t seconds, const OwnerProof* proof = nullptr);
  /// "That was me", for one event. False when it is not there or needs no answer.
  bool thatWasMe(const Uuid& id, const OwnerProof& proof);
  /// It was not: the event stays in the history and needs nothing more. Its report still goes.
  bool keepInHistory(const Uuid& id, const OwnerProof& proof);
  bool deleteEvent(const Uuid& id, const OwnerProof& proof);
  /// The photos and clips of all events; the events stay.
  void deletePhotos(const OwnerProof& proof);
  /// Everything, with files that no event names and kept-aside copies. `done` when it is gone.
  void deleteAll(const OwnerProof& proof, std::function<void(PhotoVault::DeletedAll)> done = {});
  void lockHistory();

  // ---- what happens
  void opened(const Trigger& trigger);    ///< a watched item or tripwire
  void occurred(const Trigger& trigger);  ///< lid, power, idle
  void proved(const OwnerProof& proof) override;
  bool ownerProved() const override;
  void wrongTry(WrongTry which) override;
  void ownerCheckOpened() override;
  void ownerCheckClosed() override;

  // ---- the end
  /// `done` from the main loop once everything changed so far is on disk; never while saving fails.
  void whenRecorded(std::function<void()> done);
  /// Waits, bounded, for reports under way, closes what is unfinished and writes the last save.
  /// `done(false)` when that save failed. The store takes nothing more in after that.
  void prepareToQuit(std::function<void(bool saved)> done);

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace brindle
