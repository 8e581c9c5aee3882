#include "platform/linux/display_power.h"

#include "platform/linux/dbus_values.h"

namespace brindle {

namespace {
constexpr const char* path = "/org/gnome/Mutter/DisplayConfig";
constexpr const char* interface = "org.gnome.Mutter.DisplayConfig";
constexpr const char* mode = "PowerSaveMode";
}  // namespace

DisplayPower::DisplayPower(DbusLink& session, Log log) : service_(session, log, interface) {
  signal_ = service_.onSignal({path, dbusPropertiesInterface, "PropertiesChanged", interface},
                              [this](sdbus::Message& message) {
                                std::string changedInterface;
                                DbusProperties changed;
                                if (!unpack(message, changedInterface, changed)) return;
                                if (const auto now = property<int>(changed, mode)) modeIs(*now);
                              });
  presence_ = service_.onPresence([this](bool present) { presenceChanged(present); });
  if (service_.present()) presenceChanged(true);
}

void DisplayPower::presenceChanged(bool present) {
  if (!present) {
    asleep_.reset();
    return;
  }
  service_.call(
      path, dbusPropertiesInterface, "Get",
      [](sdbus::MethodCall& call) { call << interface << mode; },
      [this](const DbusAnswer& answer) {
        sdbus::Variant value;
        if (!answer.reply || !unpack(*answer.reply, value) || !value.containsValueOfType<int>()) {
          return;
        }
        modeIs(value.get<int>());
      });
}

// 0 is on; 1 to 3 are standby, suspend and off; -1 says that the displays cannot be put to sleep.
void DisplayPower::modeIs(int value) {
  asleep_ = value > 0;
  changes_.tell();
}

}  // namespace brindle
