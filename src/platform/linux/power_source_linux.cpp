#include "platform/linux/power_source_linux.h"

#include "platform/linux/dbus_values.h"

namespace brindle {

using namespace std::chrono_literals;

namespace {

// Whoever asks at once is not told "unknown", unless UPower takes long to start.
constexpr auto startTime = 500ms;

PowerReading readingOf(const Upower::Told& told) {
  PowerReading reading;
  // A machine without any supply of its own to name is "not on battery" all the same.
  if (told.supplied && told.onBattery) reading.onAdapter = !*told.onBattery;
  if (told.lidPresent.value_or(false)) reading.lidClosed = told.lidClosed;
  return reading;
}

}  // namespace

LinuxPowerSource::LinuxPowerSource(DbusLink& system, LogindSession& logind, Log log, bool lid)
    : scheduler_(system.scheduler()), upower_(system, log), logind_(logind.manager()), lid_(lid) {
  told_ = upower_.onChange([this] { upowerChanged(); });
  logindPresence_ = logind_.onPresence([this](bool present) { logindChanged(present); });
  system.settle(startTime);
}

void LinuxPowerSource::upowerChanged() {
  if (const auto told = upower_.told()) {
    forgets_.cancel();
    return take(Teller::upower, readingOf(*told), told->battery);
  }
  if (teller_ != Teller::upower) return askLogind();
  if (forgets_.armed()) return;
  forgets_ = scheduler_.after(restartTime, [this] {
    take(Teller::nobody, {});
    askLogind();
  });
}

void LinuxPowerSource::logindChanged(bool present) {
  if (teller_ == Teller::upower) return;
  if (!present) return take(Teller::nobody, {});
  changes_.tell();  // from now on there is something to ask for
}

void LinuxPowerSource::refresh() {
  upower_.refresh();
  askLogind();
}

void LinuxPowerSource::askLogind() {
  if (teller_ == Teller::upower || !lid_ || asking_ || !logind_.present()) return;
  asking_ = true;
  logind_.call(
      "/org/freedesktop/login1", dbusPropertiesInterface, "Get",
      [](sdbus::MethodCall& call) {
        call << "org.freedesktop.login1.Manager"
             << "LidClosed";
      },
      lifetime_.guard([this](const DbusAnswer& answer) {
        asking_ = false;
        if (teller_ == Teller::upower) return;
        sdbus::Variant value;
        const bool told =
            answer.reply && unpack(*answer.reply, value) && value.containsValueOfType<bool>();
        if (!told) return take(Teller::nobody, {});
        take(Teller::logind, {std::nullopt, value.get<bool>()});
      }));
}

void LinuxPowerSource::take(Teller teller, const PowerReading& reading, bool battery) {
  const bool same = teller == teller_ && reading == reading_ && battery == battery_;
  teller_ = teller;
  reading_ = reading;
  battery_ = battery;
  if (!same) changes_.tell();
}

std::string LinuxPowerSource::describe() const {
  const auto side = [](std::optional<bool> value, const char* yes, const char* no,
                       const char* unknown) {
    return std::string(!value ? unknown : *value ? yes : no);
  };
  return side(reading_.onAdapter, "on the adapter", "on battery", "adapter unknown") +
         (battery_ ? ", has a battery, " : ", no battery, ") +
         side(reading_.lidClosed, "lid closed", "lid open", "no lid");
}

ServiceReport LinuxPowerSource::report() const {
  const auto says = [](const char* backend, bool answered, std::string detail) {
    return ServiceReport{"power source", backend, answered, std::move(detail)};
  };
  switch (teller_) {
    case Teller::upower:
      return says("UPower", upower_.told().has_value(),
                  forgets_.armed() ? upower_.problem() + " a moment ago" : describe());
    case Teller::logind:
      return says("logind", true,
                  upower_.problem() + "; logind is asked for the lid, the adapter is unknown");
    case Teller::nobody:
      break;
  }
  const auto& link = logind_.link();
  return says("UPower", false,
              link.connection() ? upower_.problem() : "system bus: " + link.problem());
}

}  // namespace brindle
