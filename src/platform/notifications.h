#pragma once

#include <functional>
#include <string>

#include "base/subscription.h"
#include "platform/service_report.h"

namespace brindle {

struct LocalNotification {
  std::string id;  ///< posting the same id again replaces the earlier one
  std::string title;
  std::string body;
};

/// Banners on this machine. Main thread only.
class Notifications {
 public:
  virtual ~Notifications() = default;

  /// `done(false)` from the main loop when it could not be shown.
  virtual void post(const LocalNotification& notification, std::function<void(bool)> done) = 0;
  virtual void remove(const std::string& id) = 0;
  /// The owner clicked the banner with this id.
  [[nodiscard]] virtual Subscription onActivated(std::function<void(std::string)> activated) = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
