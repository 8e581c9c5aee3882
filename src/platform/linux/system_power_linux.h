#pragma once

#include <memory>

#include "base/lifetime.h"
#include "platform/linux/logind_session.h"
#include "platform/posix/descriptor.h"
#include "platform/system_power.h"

namespace brindle {

/// Sleep as logind announces it. Its delay inhibitor is taken in advance, while somebody listens:
/// once sleep is announced it is too late to ask for one.
class LinuxSystemPower final : public SystemPower {
 public:
  explicit LinuxSystemPower(LogindSession& logind);

  [[nodiscard]] Subscription listen(Listener listener) override;
  Duration longestHold() const override;
  ServiceReport report() const override;

 private:
  void readLimit();
  void takeDelay();
  void delayTaken(const DbusAnswer& answer);
  void letGo();
  void told(LogindSession::Power power);
  void willSleep();
  void woke();

  DbusService& logind_;
  std::shared_ptr<Listener> listener_;
  Descriptor delay_;        // logind waits until it is closed
  bool waitedFor_ = false;  // also while the delay is in the listener's hands
  Duration limit_{};
  std::string refusal_;
  std::int64_t announced_ = 0;
  std::uint64_t asked_ = 0;  // only the last answer counts
  Subscription presence_;
  Subscription power_;
  Lifetime lifetime_;
};

}  // namespace brindle
