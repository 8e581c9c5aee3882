#pragma once

#include <functional>

#include "base/subscription.h"
#include "core/unlock_event.h"

namespace brindle {

/// How handing over a report ended. `notHandedOver`: it is owed and has to be tried again;
/// `nothingOwed`: nobody wants one (no account, or alerts are switched off).
enum class HandOver { handedOver, notHandedOver, nothingOwed };

/// Takes over the report of an occurrence that nobody confirmed, with its photos. Main thread only.
class AlertReporting {
 public:
  virtual ~AlertReporting() = default;
  /// `done` comes from the main loop, once. Asking again for the same event replaces its report.
  virtual void handOver(const UnlockEvent& event, std::function<void(HandOver)> done) = 0;
  /// The same for a camera that was switched off.
  virtual void handOver(const CameraOffAlert& alert, std::function<void(HandOver)> done) = 0;
  /// A body for it is on disk and goes by itself; handing over again would replace it.
  virtual bool holds(const Uuid& id) const = 0;
  /// The event needs no report any more.
  virtual void withdraw(const Uuid& event) = 0;
  /// How a report that was handed over ended, perhaps in a later run: sent or rejected. From the
  /// main loop.
  [[nodiscard]] virtual Subscription onResult(
      std::function<void(const Uuid& id, AlertState result)> ended) = 0;
};

}  // namespace brindle
