#pragma once

#include <utility>

#include "platform/power_source.h"
#include "platform/scheduler.h"

namespace brindle {

/// An adapter and a lid moved by hand.
class MemoryPowerSource final : public PowerSource {
 public:
  explicit MemoryPowerSource(Scheduler& scheduler) : scheduler_(scheduler) {}

  PowerReading read() const override { return known_; }
  bool hasBattery() const override { return true; }
  bool tellsLid() const override { return tellsLid_; }
  void refresh() override {
    ++refreshes_;
    known_ = actual_;
    tell();
  }
  [[nodiscard]] Subscription onChange(std::function<void()> changed) override {
    return changes_.add(std::move(changed));
  }
  ServiceReport report() const override { return {"power source", "memory", true, {}}; }

  void set(PowerReading next) {
    const bool lidOnly = next.onAdapter == actual_.onAdapter;
    actual_ = next;
    if (!tellsLid_ && lidOnly) return;
    known_ = tellsLid_ ? next : PowerReading{next.onAdapter, known_.lidClosed};
    tell();
  }
  /// Nobody tells when the lid moves.
  void setTellsLid(bool tells) { tellsLid_ = tells; }
  int refreshes() const { return refreshes_; }
  bool watched() const { return !changes_.empty(); }

 private:
  void tell() {
    scheduler_.post([this] { changes_.tell(); });
  }

  Scheduler& scheduler_;
  PowerReading actual_, known_;
  bool tellsLid_ = true;
  int refreshes_ = 0;
  Listeners<> changes_;
};

}  // namespace brindle
