#pragma once

#include "base/lifetime.h"
#include "platform/linux/lid_switch.h"
#include "platform/linux/logind_session.h"
#include "platform/linux/upower.h"
#include "platform/power_source.h"

namespace brindle {

/// Adapter and lid as UPower tells them. Without UPower the lid is logind's word, which has to be
/// asked for; a reading is always of one of the two, never of both.
class LinuxPowerSource final : public PowerSource {
 public:
  /// A restart takes a tenth of a second. What UPower said last holds for this long, so that an
  /// adapter that is pulled meanwhile is a change from known to known; afterwards nothing is known.
  static constexpr std::chrono::seconds restartTime{3};

  /// `lid`: this machine has one. logind says "open" of a lid that is not there as well, and would
  /// be asked each second for nothing.
  LinuxPowerSource(DbusLink& system, LogindSession& logind, Log log, bool lid = hasLidSwitch());

  PowerReading read() const override { return reading_; }
  bool hasBattery() const override { return battery_; }
  bool tellsLid() const override {
    return teller_ == Teller::upower || !lid_ || !logind_.present();
  }
  void refresh() override;
  [[nodiscard]] Subscription onChange(std::function<void()> changed) override {
    return changes_.add(std::move(changed));
  }
  ServiceReport report() const override;

 private:
  enum class Teller { nobody, upower, logind };
  void upowerChanged();
  void logindChanged(bool present);
  void askLogind();
  void take(Teller teller, const PowerReading& reading, bool battery = false);
  std::string describe() const;

  Scheduler& scheduler_;
  Upower upower_;
  DbusService& logind_;
  const bool lid_;
  Teller teller_ = Teller::nobody;
  PowerReading reading_;
  bool battery_ = false;
  bool asking_ = false;
  Timer forgets_;  // armed while UPower's last word outlives it
  Listeners<> changes_;
  Subscription told_;
  Subscription logindPresence_;
  Lifetime lifetime_;
};

}  // namespace brindle
