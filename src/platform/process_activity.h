#pragma once

#include <string>

#include "base/subscription.h"
#include "platform/service_report.h"

namespace brindle {

/// Tells the system that this process works on something a person asked for, so that its timers are
/// not held back. It does not keep the machine awake. Main thread only.
class ProcessActivity {
 public:
  virtual ~ProcessActivity() = default;
  /// Until the subscription ends; several may run at once.
  [[nodiscard]] virtual Subscription begin(const std::string& reason) = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
