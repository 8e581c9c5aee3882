#pragma once

#include <string>

#include "base/result.h"
#include "platform/service_report.h"

namespace brindle {

/// Whether the application starts when the owner logs in (macOS: the main app's login item; Linux:
/// an XDG autostart entry and, where the user's service manager keeps units, a user unit for the
/// guard without a window system). Main thread only; asks the system each time, so not in tight
/// timers.
class LoginItem {
 public:
  enum class Status { enabled, disabled, needsApproval, unknown };

  virtual ~LoginItem() = default;
  virtual Status status() const = 0;
  /// An explanation for a person when it failed.
  virtual Result<void, std::string> enable() = 0;
  virtual Result<void, std::string> disable() = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
