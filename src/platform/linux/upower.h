#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/linux/dbus_service.h"

namespace sdbus {
class ObjectPath;
}

namespace brindle {

/// What UPower tells of this machine's supplies and lid. Main thread only.
class Upower {
 public:
  struct Told {
    std::optional<bool> onBattery;
    std::optional<bool> lidPresent;
    std::optional<bool> lidClosed;
    bool supplied = false;  ///< by an adapter or a battery that it knows of
    bool battery = false;   ///< of the machine; that of a mouse is none
  };

  Upower(DbusLink& system, Log log);

  /// Empty until it has answered everything since it is there, and while it does not.
  std::optional<Told> told() const;
  /// Of `told`; it has also changed when UPower turned out not to be there.
  [[nodiscard]] Subscription onChange(std::function<void()> changed) {
    return changes_.add(std::move(changed));
  }
  /// Asks everything anew, if it is there and not being asked already.
  void refresh();
  /// Why nothing is told.
  const std::string& problem() const { return problem_; }

 private:
  struct Supplies {
    bool supplied = false;
    bool battery = false;
  };
  using Paths = std::vector<sdbus::ObjectPath>;
  void wake();
  void presenceChanged(bool present);
  void look();
  void listDevices(std::uint64_t turn);
  void readDevices(std::uint64_t turn, Paths left, Supplies found);
  void take(std::uint64_t turn, const Supplies& supplies);
  void propertiesChanged(sdbus::Message& message);
  void forget(std::string why);

  DbusService service_;
  Told manager_;  // without its supplies
  std::optional<Supplies> supplies_;
  bool looking_ = false;
  std::uint64_t turn_ = 0;  // only the answers to the last look count
  std::string problem_ = "UPower has not answered yet";
  Listeners<> changes_;
  std::vector<Subscription> signals_;
  Subscription presence_;
  Subscription connection_;
};

}  // namespace brindle
