#pragma once

#include "core/unlock_event.h"
#include "platform/notifications.h"

namespace brindle {

/// A banner per occurrence that awaits an answer: for a session whose window is not in sight. Main
/// thread only.
class LiveUnlockNotifier {
 public:
  explicit LiveUnlockNotifier(Notifications& notifications) : notifications_(notifications) {}

  void occurred(const UnlockEvent& event);
  /// The event has been answered or is gone.
  void settled(const Uuid& event);

 private:
  Notifications& notifications_;
};

}  // namespace brindle
