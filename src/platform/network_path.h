#pragma once

#include <functional>

#include "base/subscription.h"
#include "platform/service_report.h"

namespace brindle {

/// The way to other machines. Main thread only.
class NetworkPath {
 public:
  virtual ~NetworkPath() = default;
  /// Called from the main loop a moment after a way appeared or changed, so that a request that
  /// failed is worth another try. It may be called when nothing is gained. Costs nothing while
  /// nothing changes.
  [[nodiscard]] virtual Subscription onReturn(std::function<void()> returned) = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
