#include "platform/linux/notifications_linux.h"

#include "platform/linux/dbus_values.h"

namespace brindle {

using namespace std::chrono_literals;

namespace {

constexpr const char* path = "/org/freedesktop/Notifications";
constexpr const char* interface = "org.freedesktop.Notifications";

// Bodies may be read as markup, titles never are.
std::string escaped(const std::string& text) {
  std::string out;
  for (const char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

}  // namespace

LinuxNotifications::LinuxNotifications(DbusLink& session, Log log)
    : service_(session, log, interface) {
  action_ = service_.onSignal({path, interface, "ActionInvoked"}, [this](sdbus::Message& message) {
    std::uint32_t number = 0;
    if (unpack(message, number)) activated(number);
  });
  closed_ =
      service_.onSignal({path, interface, "NotificationClosed"}, [this](sdbus::Message& message) {
        std::uint32_t number = 0;
        if (unpack(message, number)) closed(number);
      });
  // Another service numbers from the start: an old number would replace somebody else's banner.
  presence_ = service_.onPresence([this](bool present) {
    if (!present) numbers_.clear();
  });
}

void LinuxNotifications::post(const LocalNotification& notification,
                              std::function<void(bool)> done) {
  const auto known = numbers_.find(notification.id);
  const std::uint32_t replaces = known == numbers_.end() ? 0 : known->second;
  const auto fill = [&](sdbus::MethodCall& call) {
    const std::vector<std::string> actions{"default", ""};
    call << "Brindle" << replaces << "" << notification.title << escaped(notification.body)
         << actions << DbusProperties{} << std::int32_t{-1};
  };
  service_.call(
      path, interface, "Notify", fill,
      [this, id = notification.id, done = std::move(done)](const DbusAnswer& answer) {
        std::uint32_t number = 0;
        const bool shown = answer.reply && unpack(*answer.reply, number);
        if (shown) numbers_[id] = number;
        if (done) done(shown);
      },
      10s);  // the call may have to start the service
}

void LinuxNotifications::remove(const std::string& id) {
  const auto known = numbers_.find(id);
  if (known == numbers_.end()) return;
  service_.call(path, interface, "CloseNotification",
                [number = known->second](sdbus::MethodCall& call) { call << number; }, {});
  numbers_.erase(known);
}

const std::string* LinuxNotifications::idOf(std::uint32_t number) const {
  for (const auto& [id, each] : numbers_) {
    if (each == number) return &id;
  }
  return nullptr;
}

void LinuxNotifications::activated(std::uint32_t number) {
  if (const std::string* id = idOf(number)) listeners_.tell(std::string(*id));
}

void LinuxNotifications::closed(std::uint32_t number) {
  if (const std::string* id = idOf(number)) numbers_.erase(*id);
}

ServiceReport LinuxNotifications::report() const {
  const std::string& problem = service_.link().problem();
  if (!problem.empty()) return {"notifications", interface, false, "session bus: " + problem};
  return {"notifications", interface, service_.present(),
          service_.present() ? "answers" : "no notification service on the session bus"};
}

}  // namespace brindle
