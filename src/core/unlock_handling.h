#pragma once

#include <functional>
#include <optional>

#include "core/alert_reports.h"
#include "core/event_photos.h"
#include "core/guard_collaborators.h"
#include "core/live_unlock_notifier.h"
#include "core/occurrence_extras.h"

namespace brindle {

/// What is left of a confirmed event: its wrong tries, with the photos taken at them. Nothing when
/// there were none.
std::optional<UnlockEvent> attemptsOf(const UnlockEvent& event);

/// One occurrence from its signal to its end. The newest one awaits the owner's answer; earlier
/// ones keep their own hold and their own answer. Main thread only.
class UnlockHandling {
 public:
  struct Parts {
    Scheduler& scheduler;
    Random& random;
    EventHistory& history;
    EventFiles& files;
    EventPhotos& photos;
    AlertReports& reports;
    VaultHandOver& copies;
    OccurrenceExtras& extras;
    const GuardCollaborators& collaborators;
    Notifications& notifications;
    std::function<Duration()> alertDelay;
  };
  explicit UnlockHandling(Parts parts)
      : parts_(std::move(parts)), notifier_(parts_.notifications) {}

  Uuid begin(std::optional<Trigger> trigger);
  void fold(const Uuid& event, const Trigger& trigger);
  /// "That was me". False when the event is not there or has been dealt with.
  bool confirm(const Uuid& event);
  /// "That was not me": the event stays, its report goes at once.
  bool keep(const Uuid& event);
  bool remove(const Uuid& event);
  /// Everything, with files that no event names. `done` when it is gone.
  void removeAll(std::function<void(PhotoVault::DeletedAll)> done);
  /// The photos and clips of all events; the events stay.
  void removeFiles();
  /// After a start: the newest unresolved occurrence awaits its answer again.
  void resume();
  /// The guard is off: nobody is asked any more, what is owed stays owed.
  void stopAsking();

  const std::optional<Uuid>& pendingConfirm() const { return pendingConfirm_; }
  /// The occurrence being handled: the latest, while photos of it are taken or its hold runs.
  EventRef current() const;

 private:
  void settle(const UnlockEvent& event);
  void answered(const Uuid& event);

  Parts parts_;
  LiveUnlockNotifier notifier_;
  std::optional<Uuid> currentUnlockID_;
  std::optional<Uuid> pendingConfirm_;
};

}  // namespace brindle
