#pragma once

#include <functional>
#include <string>

#include "base/subscription.h"
#include "platform/service_report.h"

namespace brindle {

/// Links with a scheme of this application's own that a person follows in another program. What
/// they say is outside data: anybody can make one. Main thread only.
class OpenedLinks {
 public:
  virtual ~OpenedLinks() = default;
  /// Called from the main loop with the whole link. Several may listen.
  [[nodiscard]] virtual Subscription onLink(
      std::function<void(const std::string& link)> opened) = 0;
  /// Whether a link with this scheme would reach this program now.
  virtual bool registered(const std::string& scheme) const = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
