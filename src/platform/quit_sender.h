#pragma once

#include <functional>
#include <optional>
#include <string>

#include "base/subscription.h"
#include "platform/service_report.h"

namespace brindle {

/// One request to quit, as the system describes it while it is being delivered.
struct QuitOrder {
  /// The four-character quit reason it carries ("shut", "logo", …); empty when it gives none.
  std::string reason;
  /// Its sender was checked and is the system itself (macOS: the login window, by code requirement;
  /// Linux: logind announced a shutdown, or our login session is closing).
  bool senderVerified = false;
  /// Who sent it, for the log.
  std::string sender;
};

/// Orders to quit that come from outside our own menu. Main thread only.
class QuitSender {
 public:
  virtual ~QuitSender() = default;

  /// Called from the main loop once per order. The process does not end by itself: whoever listens
  /// decides.
  [[nodiscard]] virtual Subscription onQuitOrder(std::function<void(QuitOrder)> ordered) = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
