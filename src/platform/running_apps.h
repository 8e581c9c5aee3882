#pragma once

#include <functional>
#include <optional>
#include <string>

#include "base/subscription.h"
#include "platform/service_report.h"

namespace brindle {

/// An application as its system names it: a bundle identifier ("com.example.notes"), or the
/// identifier of a desktop file without its extension ("org.example.Notes").
struct AppIdentity {
  std::string id;
  std::string name;  ///< for a person
  bool operator==(const AppIdentity&) const = default;
};

/// The applications of this session. Main thread only.
class RunningApps {
 public:
  enum class What { launched, activated };

  virtual ~RunningApps() = default;
  /// Called from the main loop with the application's identifier until the subscription ends. One
  /// start may be told as both. What comes to the front and is no application that `identify`
  /// knows goes by some name of its program.
  [[nodiscard]] virtual Subscription observe(
      std::function<void(const std::string& id, What what)> changed) = 0;
  /// The application in front; none when it cannot be told.
  virtual std::optional<std::string> frontmost() const = 0;
  /// The application at this path (a bundle, a desktop file, or a program that one starts) or of
  /// this identifier; none when it is no application.
  virtual std::optional<AppIdentity> identify(const std::string& pathOrId) const = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
