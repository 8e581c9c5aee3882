#pragma once

#include "platform/linux/logind_session.h"
#include "platform/power_assertion.h"

namespace brindle {

/// Inhibitors of logind and of the desktop.
class LinuxPowerAssertions final : public PowerAssertions {
 public:
  LinuxPowerAssertions(LogindSession&, DbusLink&) {}

  [[nodiscard]] Subscription hold(Kind, const std::string&) override { return {}; }
  bool offers(Kind) const override { return false; }
  ServiceReport report() const override {
    return {"power assertion", "logind", false, "nothing is inhibited yet"};
  }
};

}  // namespace brindle
