#pragma once

#include <functional>
#include <string>

#include "base/subscription.h"
#include "platform/service_report.h"

namespace brindle {

/// Keeps the machine awake. Main thread only; nothing blocks.
class PowerAssertions {
 public:
  enum class Kind {
    preventUserIdleSystemSleep,  ///< it does not go to sleep for want of input
    handleLidSwitch,             ///< it does not go to sleep when its lid is closed
  };

  virtual ~PowerAssertions() = default;
  /// Until the subscription ends; several may be held at once. What grants it may come later or
  /// come back: it is then asked again. `name` tells a person who holds it.
  [[nodiscard]] virtual Subscription hold(Kind kind, const std::string& name) = 0;
  /// False: nothing here can do it. Which one, and why not, is in the report.
  virtual bool offers(Kind kind) const = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
