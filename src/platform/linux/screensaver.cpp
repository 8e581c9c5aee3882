#include "platform/linux/screensaver.h"

#include "platform/linux/dbus_values.h"

namespace brindle {

Screensaver::Screensaver(DbusLink& session, Log log, const std::string& name, std::string path)
    : service_(session, log, name), path_(std::move(path)) {
  // Any path: KDE has the same object under two, and speaks from one of them.
  signal_ = service_.onSignal({"", name, "ActiveChanged"}, [this](sdbus::Message& message) {
    bool active = false;
    if (unpack(message, active)) activeIs(active);
  });
  presence_ = service_.onPresence([this](bool present) { presenceChanged(present); });
  if (service_.present()) presenceChanged(true);
}

void Screensaver::presenceChanged(bool present) {
  if (!present) {
    // A screensaver that is gone covers nothing. The bus being gone says nothing about it.
    if (service_.link().connection()) active_ = false;
    answers_ = false;
    changes_.tell();
    return;
  }
  service_.call(path_, service_.name(), "GetActive", {}, [this](const DbusAnswer& answer) {
    bool active = false;
    if (answer.reply && unpack(*answer.reply, active)) activeIs(active);
  });
}

void Screensaver::activeIs(bool active) {
  active_ = active;
  answers_ = true;
  changes_.tell();
}

}  // namespace brindle
