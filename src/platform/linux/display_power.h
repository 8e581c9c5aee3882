#pragma once

#include <optional>

#include "platform/linux/dbus_service.h"

namespace brindle {

/// Whether the displays are asleep, as GNOME's compositor tells it; other desktops announce it to
/// nobody (X11 would have to be asked again and again). Main thread only.
class DisplayPower {
 public:
  DisplayPower(DbusLink& session, Log log);

  /// Empty when it cannot be told.
  std::optional<bool> asleep() const { return asleep_; }
  [[nodiscard]] Subscription onChange(std::function<void()> changed) {
    return changes_.add(std::move(changed));
  }

 private:
  void presenceChanged(bool present);
  void modeIs(int mode);

  DbusService service_;
  std::optional<bool> asleep_;
  Listeners<> changes_;
  Subscription signal_;
  Subscription presence_;
};

}  // namespace brindle
