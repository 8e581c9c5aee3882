#pragma once

#include <string>

#include "platform/linux/dbus_service.h"

namespace brindle {

/// A desktop's screensaver on the session bus, for desktops whose locker gives logind no hint. Main
/// thread only.
class Screensaver {
 public:
  /// Name and interface are the same text, as the desktops have it.
  Screensaver(DbusLink& session, Log log, const std::string& name, std::string path);

  /// What it last said; false when it is gone, kept while the bus is away.
  bool active() const { return active_; }
  bool answers() const { return answers_; }
  const std::string& name() const { return service_.name(); }
  [[nodiscard]] Subscription onChange(std::function<void()> changed) {
    return changes_.add(std::move(changed));
  }

 private:
  void presenceChanged(bool present);
  void activeIs(bool active);

  DbusService service_;
  std::string path_;
  bool active_ = false;
  bool answers_ = false;
  Listeners<> changes_;
  Subscription signal_;
  Subscription presence_;
};

}  // namespace brindle
