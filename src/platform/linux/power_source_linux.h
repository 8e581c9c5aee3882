#pragma once

#include "platform/linux/logind_session.h"
#include "platform/power_source.h"

namespace brindle {

/// Adapter and lid as UPower tells them.
class LinuxPowerSource final : public PowerSource {
 public:
  LinuxPowerSource(DbusLink&, LogindSession&, Log) {}

  PowerReading read() const override { return {}; }
  bool hasBattery() const override { return false; }
  bool tellsLid() const override { return false; }
  void refresh() override {}
  [[nodiscard]] Subscription onChange(std::function<void()>) override { return {}; }
  ServiceReport report() const override {
    return {"power source", "UPower", false, "it is not asked yet"};
  }
};

}  // namespace brindle
