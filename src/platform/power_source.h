#pragma once

#include <functional>
#include <optional>

#include "base/subscription.h"
#include "platform/service_report.h"

namespace brindle {

/// One look at adapter and lid. Empty means "cannot be told", never "no".
struct PowerReading {
  std::optional<bool> onAdapter;  ///< the machine draws power from its adapter
  std::optional<bool> lidClosed;  ///< the lid of the built-in display is closed
  bool operator==(const PowerReading&) const = default;
};

/// Power adapter and lid of this computer. Main thread only; nothing blocks.
class PowerSource {
 public:
  virtual ~PowerSource() = default;
  /// What is known at this moment. Right after the start that may be nothing.
  virtual PowerReading read() const = 0;
  /// It has a battery of its own (that of a mouse is none).
  virtual bool hasBattery() const = 0;
  /// Somebody tells when the lid moves. Where nobody does, `refresh` has to be asked for.
  virtual bool tellsLid() const = 0;
  /// Looks anew; what differs is told by `onChange`.
  virtual void refresh() = 0;
  /// Told from the main loop, never from inside this call, until the subscription ends. May be told
  /// when nothing differs: compare readings.
  [[nodiscard]] virtual Subscription onChange(std::function<void()> changed) = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
