#pragma once

#include <functional>
#include <optional>

#include "core/alert_reports.h"
#include "core/event_photos.h"
#include "core/guard_collaborators.h"
#include "core/owner_secrets.h"

namespace brindle {

/// Records and photographs wrong tries: with the occurrence that awaits its answer, or else in an
/// event of their own that is held and reported like one. Tries of one sitting share that event.
/// Main thread only.
class AttemptRecording {
 public:
  struct Parts {
    Scheduler& scheduler;
    Random& random;
    EventHistory& history;
    EventPhotos& photos;
    AlertReports& reports;
    const GuardCollaborators& collaborators;
    std::function<Duration()> alertDelay;
  };
  explicit AttemptRecording(Parts parts) : parts_(std::move(parts)) {}

  void wrongTry(WrongTry which, const std::optional<Uuid>& pendingConfirm);
  /// The owner proved themself in the same sitting: the tries stay recorded, but no report goes.
  void proved();
  void newSitting() { attempt_.reset(); }

 private:
  Uuid openAttempt(WrongTry which);

  Parts parts_;
  std::optional<Uuid> attempt_;  ///< the event of this sitting's tries
};

}  // namespace brindle
