#include "platform/linux/upower.h"

#include <utility>

#include "platform/linux/dbus_values.h"

namespace brindle {

using namespace std::chrono_literals;

namespace {

constexpr const char* interface = "org.freedesktop.UPower";
constexpr const char* path = "/org/freedesktop/UPower";
constexpr const char* deviceInterface = "org.freedesktop.UPower.Device";
constexpr std::uint32_t linePower = 1;
constexpr std::uint32_t battery = 2;

DbusService::Fill allOf(const char* what) {
  return [what](sdbus::MethodCall& call) { call << what; };
}

// A value of another type is no value, rather than the one from before.
void take(const DbusProperties& properties, const char* name, std::optional<bool>& into) {
  if (properties.contains(name)) into = property<bool>(properties, name);
}

void takeAll(const DbusProperties& properties, Upower::Told& into) {
  take(properties, "OnBattery", into.onBattery);
  take(properties, "LidIsPresent", into.lidPresent);
  take(properties, "LidIsClosed", into.lidClosed);
}

}  // namespace

Upower::Upower(DbusLink& system, Log log) : service_(system, log, interface) {
  signals_.push_back(
      service_.onSignal({path, dbusPropertiesInterface, "PropertiesChanged", interface},
                        [this](sdbus::Message& message) { propertiesChanged(message); }));
  for (const char* member : {"DeviceAdded", "DeviceRemoved"}) {
    signals_.push_back(
        service_.onSignal({path, interface, member}, [this](sdbus::Message&) { look(); }));
  }
  presence_ = service_.onPresence([this](bool present) { presenceChanged(present); });
  connection_ = system.onConnection([this](bool connected) {
    if (connected) wake();
  });
  wake();
}

// Where nobody has asked UPower anything yet it does not run; the bus starts it for the first call.
void Upower::wake() {
  service_.call(
      path, "org.freedesktop.DBus.Peer", "Ping", {},
      [this](const DbusAnswer& answer) {
        if (!answer.reply && !service_.present()) forget("UPower is not there: " + answer.error);
      },
      25s);
}

void Upower::presenceChanged(bool present) {
  forget(present ? "UPower has not answered yet" : "UPower has gone from the system bus");
  if (present) look();
}

void Upower::forget(std::string why) {
  ++turn_;
  looking_ = false;
  manager_ = {};
  supplies_.reset();
  problem_ = std::move(why);
  changes_.tell();
}

void Upower::refresh() {
  if (service_.present() && !looking_) look();
}

void Upower::look() {
  looking_ = true;
  const auto turn = ++turn_;
  service_.call(path, dbusPropertiesInterface, "GetAll", allOf(interface),
                [this, turn](const DbusAnswer& answer) {
                  if (turn != turn_) return;
                  DbusProperties all;
                  if (!answer.reply || !unpack(*answer.reply, all)) {
                    return forget("UPower does not answer: " + answer.error);
                  }
                  takeAll(all, manager_);
                  listDevices(turn);
                });
}

void Upower::listDevices(std::uint64_t turn) {
  service_.call(path, interface, "EnumerateDevices", {}, [this, turn](const DbusAnswer& answer) {
    if (turn != turn_) return;
    Paths paths;
    if (!answer.reply || !unpack(*answer.reply, paths)) {
      return forget("UPower does not list its devices: " + answer.error);
    }
    readDevices(turn, std::move(paths), {});
  });
}

void Upower::readDevices(std::uint64_t turn, Paths left, Supplies found) {
  if (left.empty()) return take(turn, found);
  const std::string device = left.back();
  left.pop_back();
  service_.call(device, dbusPropertiesInterface, "GetAll", allOf(deviceInterface),
                [this, turn, left = std::move(left), found](const DbusAnswer& answer) mutable {
                  if (turn != turn_) return;
                  DbusProperties all;
                  // One that has just gone supplies nothing.
                  if (answer.reply && unpack(*answer.reply, all)) {
                    const auto type = property<std::uint32_t>(all, "Type");
                    const bool own = property<bool>(all, "PowerSupply").value_or(false);
                    found.battery = found.battery || (type == battery && own);
                    found.supplied = found.supplied || found.battery || type == linePower;
                  }
                  readDevices(turn, std::move(left), found);
                });
}

void Upower::take(std::uint64_t turn, const Supplies& supplies) {
  if (turn != turn_) return;
  looking_ = false;
  supplies_ = supplies;
  changes_.tell();
}

// Only the manager is believed: on its way from one state to the other the adapter and the battery
// speak before it, one by one.
void Upower::propertiesChanged(sdbus::Message& message) {
  std::string changedInterface;
  DbusProperties changed;
  std::vector<std::string> invalidated;
  if (!unpack(message, changedInterface, changed, invalidated)) return;
  takeAll(changed, manager_);
  if (supplies_) changes_.tell();
  // After a look that failed, the first word is a sign that another may succeed.
  if (!invalidated.empty() || (!supplies_ && !looking_)) look();
}

std::optional<Upower::Told> Upower::told() const {
  if (!supplies_) return std::nullopt;
  Told all = manager_;
  all.supplied = supplies_->supplied;
  all.battery = supplies_->battery;
  return all;
}

}  // namespace brindle
