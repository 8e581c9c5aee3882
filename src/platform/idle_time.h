#pragma once

#include <functional>
#include <optional>

#include "base/subscription.h"
#include "base/times.h"
#include "platform/service_report.h"

namespace brindle {

/// How long nobody has touched keyboard, mouse or anything else of this session. Main thread only.
class IdleTime {
 public:
  virtual ~IdleTime() = default;
  /// `done` from the main loop, exactly once and within a second; none when it cannot be told.
  /// Never when this object is gone first.
  virtual void read(std::function<void(std::optional<Duration>)> done) = 0;
  /// Something here can tell. `onAvailable` is told when that changes, and when somebody else tells
  /// from now on, who may have begun to count a moment ago: a time shorter than the last one then
  /// is no touch.
  virtual bool available() const = 0;
  [[nodiscard]] virtual Subscription onAvailable(std::function<void()> changed) = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
