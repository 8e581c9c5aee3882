#pragma once

#include <utility>

#include "platform/scheduler.h"
#include "platform/system_power.h"

namespace brindle {

/// Sleep that is announced by hand.
class MemorySystemPower final : public SystemPower {
 public:
  explicit MemorySystemPower(Scheduler& scheduler) : scheduler_(scheduler) {}

  [[nodiscard]] Subscription listen(Listener listener) override {
    Subscription sleep =
        willSleep_.add([this, tell = std::move(listener.willSleep)](std::int64_t id) {
          tell(SleepPermission(id, [this] { ++allowed_; }));
        });
    Subscription wake = woke_.add(std::move(listener.woke));
    auto both =
        std::make_shared<std::pair<Subscription, Subscription>>(std::move(sleep), std::move(wake));
    return Subscription([both] {
      both->first.end();
      both->second.end();
    });
  }
  Duration longestHold() const override { return longestHold_; }
  ServiceReport report() const override { return {"sleep", "memory", true, "driven by hand"}; }

  /// Without a listener nobody is waited for.
  void announceSleep() {
    if (willSleep_.empty()) return;
    ++announced_;
    scheduler_.post([this, id = announced_] { willSleep_.tell(id); });
  }
  void wake() {
    scheduler_.post([this] { woke_.tell(); });
  }
  void setLongestHold(Duration hold) { longestHold_ = hold; }
  bool waitsForSomebody() const { return !willSleep_.empty(); }
  std::int64_t announced() const { return announced_; }
  std::int64_t allowed() const { return allowed_; }  ///< permissions given back

 private:
  Scheduler& scheduler_;
  Listeners<std::int64_t> willSleep_;
  Listeners<> woke_;
  Duration longestHold_ = std::chrono::seconds(20);
  std::int64_t announced_ = 0;
  std::int64_t allowed_ = 0;
};

}  // namespace brindle
