#pragma once

#include <functional>
#include <utility>

#include "platform/boot_clock.h"
#include "platform/scheduler.h"

namespace brindle {

/// A boot clock that goes with a scheduler. `slept` says how long the machine has slept so far, for
/// a scheduler whose machine can sleep.
class MemoryBootClock final : public BootClock {
 public:
  explicit MemoryBootClock(const Scheduler& scheduler, std::function<Duration()> slept = {})
      : scheduler_(scheduler), slept_(std::move(slept)) {}

  Duration uptime() const override {
    return offset_ + scheduler_.awakeTime() + (slept_ ? slept_() : Duration::zero());
  }
  WallTime bootTime() const override {
    return scheduler_.wallTime() - std::chrono::floor<WallTime::duration>(uptime());
  }
  std::string bootId() const override { return bootId_; }
  std::string sessionId() const override { return sessionId_; }
  ServiceReport report() const override {
    return {"boot clock", "memory", true, "goes with the loop"};
  }

  /// The machine was restarted: uptime begins again.
  void reboot(std::string bootId) {
    setUptime(Duration::zero());
    bootId_ = std::move(bootId);
  }
  void setUptime(Duration uptime) { offset_ += uptime - this->uptime(); }
  void setBootId(std::string id) { bootId_ = std::move(id); }
  void setSessionId(std::string id) { sessionId_ = std::move(id); }

 private:
  const Scheduler& scheduler_;
  std::function<Duration()> slept_;
  Duration offset_ = std::chrono::hours(1);
  std::string bootId_ = "0b0a7c1e-5c1f-4f0e-9d7b-3f6f0c2d9a11";
  std::string sessionId_ = "1";
};

}  // namespace brindle
