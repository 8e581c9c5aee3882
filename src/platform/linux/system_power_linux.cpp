#include "platform/linux/system_power_linux.h"

#include <fcntl.h>
#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "platform/linux/dbus_values.h"

namespace brindle {

using namespace std::chrono_literals;

namespace {

constexpr const char* managerPath = "/org/freedesktop/login1";
constexpr const char* managerInterface = "org.freedesktop.login1.Manager";
constexpr Duration ourCap = 4s;
// logind sleeps anyway at its own limit; the last requests should not meet that moment.
constexpr Duration margin = 500ms;

}  // namespace

LinuxSystemPower::LinuxSystemPower(LogindSession& logind) : logind_(logind.manager()) {
  presence_ = logind_.onPresence([this](bool present) {
    letGo();
    if (!present) return;
    readLimit();
    takeDelay();
  });
  power_ = logind.onPower([this](LogindSession::Power power) { told(power); });
  if (logind_.present()) readLimit();
}

Subscription LinuxSystemPower::listen(Listener listener) {
  const auto owned = std::make_shared<Listener>(std::move(listener));
  listener_ = owned;
  if (!waitedFor_) takeDelay();
  return Subscription(lifetime_.guard([this, owned] {
    if (listener_ != owned) return;
    listener_.reset();
    letGo();
  }));
}

void LinuxSystemPower::readLimit() {
  logind_.call(
      managerPath, dbusPropertiesInterface, "Get",
      [](sdbus::MethodCall& call) { call << managerInterface << "InhibitDelayMaxUSec"; },
      lifetime_.guard([this](const DbusAnswer& answer) {
        sdbus::Variant value;
        limit_ = {};
        if (!answer.reply || !unpack(*answer.reply, value)) return;
        if (!value.containsValueOfType<std::uint64_t>()) return;
        // The property may be as good as endless; only its comparison with our own cap matters.
        const auto most = std::chrono::microseconds(3600s);
        const auto given = std::min<std::uint64_t>(value.get<std::uint64_t>(),
                                                   static_cast<std::uint64_t>(most.count()));
        const Duration logind = std::chrono::microseconds(static_cast<std::int64_t>(given));
        limit_ = std::clamp(logind - margin, Duration::zero(), ourCap);
      }));
}

void LinuxSystemPower::takeDelay() {
  if (!listener_ || !logind_.present()) return;
  logind_.call(
      managerPath, managerInterface, "Inhibit",
      [](sdbus::MethodCall& call) {
        call << "sleep"
             << "Brindle"
             << "Check-ins with the alert service are under way"
             << "delay";
      },
      lifetime_.guard([this, turn = ++asked_](const DbusAnswer& answer) {
        if (turn == asked_) delayTaken(answer);
      }));
}

void LinuxSystemPower::delayTaken(const DbusAnswer& answer) {
  sdbus::UnixFd descriptor;
  refusal_ = answer.error;
  if (!answer.reply || !unpack(*answer.reply, descriptor)) return;
  delay_ = Descriptor(descriptor.release());
  // It comes without this flag, and a child that inherits it would delay every sleep of its life.
  fcntl(delay_.get(), F_SETFD, FD_CLOEXEC);
  waitedFor_ = static_cast<bool>(delay_);
}

void LinuxSystemPower::letGo() {
  ++asked_;
  delay_.close();
  waitedFor_ = false;
}

Duration LinuxSystemPower::longestHold() const { return waitedFor_ ? limit_ : Duration::zero(); }

void LinuxSystemPower::told(LogindSession::Power power) {
  switch (power) {
    case LogindSession::Power::willSleep:
      return willSleep();
    case LogindSession::Power::didWake:
      return woke();
    case LogindSession::Power::willPowerOff:
      return;  // a shutdown is announced elsewhere, and not delayed
  }
}

void LinuxSystemPower::willSleep() {
  if (!listener_) return;
  const auto held = std::make_shared<Descriptor>(std::move(delay_));
  const auto listener = listener_;  // it may end its own subscription
  listener->willSleep(SleepPermission(++announced_, [held] { held->close(); }));
}

void LinuxSystemPower::woke() {
  if (!listener_) return;
  letGo();
  takeDelay();
  const auto listener = listener_;
  listener->woke();
}

ServiceReport LinuxSystemPower::report() const {
  const auto says = [](bool answered, std::string detail) {
    return ServiceReport{"sleep", "logind", answered, std::move(detail)};
  };
  if (!logind_.link().connection()) return says(false, "system bus: " + logind_.link().problem());
  if (!logind_.present()) return says(false, "logind is not on the system bus");
  if (!refusal_.empty()) return says(false, "logind grants no delay: " + refusal_);
  const double seconds = std::chrono::duration<double>(limit_).count();
  return says(limit_ > Duration::zero(),
              fmt::format("logind {} {:.1f} s before sleep",
                          waitedFor_ ? "waits up to" : "would wait up to", seconds));
}

}  // namespace brindle
