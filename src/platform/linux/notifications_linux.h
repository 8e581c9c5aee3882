#pragma once

#include <map>

#include "platform/linux/dbus_service.h"
#include "platform/notifications.h"

namespace brindle {

/// Banners of the desktop's notification service (Desktop Notifications 1.2, freedesktop.org).
class LinuxNotifications final : public Notifications {
 public:
  LinuxNotifications(DbusLink& session, Log log);

  void post(const LocalNotification& notification, std::function<void(bool)> done) override;
  void remove(const std::string& id) override;
  [[nodiscard]] Subscription onActivated(std::function<void(std::string)> activated) override {
    return listeners_.add(std::move(activated));
  }
  ServiceReport report() const override;

 private:
  void activated(std::uint32_t number);
  void closed(std::uint32_t number);
  const std::string* idOf(std::uint32_t number) const;

  DbusService service_;
  std::map<std::string, std::uint32_t> numbers_;  // the service's number of each banner on show
  Listeners<std::string> listeners_;
  Subscription action_;
  Subscription closed_;
  Subscription presence_;
};

}  // namespace brindle
