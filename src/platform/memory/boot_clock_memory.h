#pragma once

#include <utility>

#include "platform/boot_clock.h"
#include "testing/virtual_scheduler.h"

namespace brindle {

/// A boot clock that goes with a virtual scheduler, sleep included.
class MemoryBootClock final : public BootClock {
 public:
  explicit MemoryBootClock(const VirtualScheduler& scheduler) : scheduler_(scheduler) {}

  Duration uptime() const override { return offset_ + scheduler_.awakeTime() + scheduler_.slept(); }
  WallTime bootTime() const override {
    return scheduler_.wallTime() - std::chrono::floor<WallTime::duration>(uptime());
  }
  std::string bootId() const override { return bootId_; }
  std::string sessionId() const override { return sessionId_; }
  ServiceReport report() const override { return {"boot clock", "memory", true, "virtual time"}; }

  /// The machine was restarted: uptime begins again.
  void reboot(std::string bootId) {
    setUptime(Duration::zero());
    bootId_ = std::move(bootId);
  }
  void setUptime(Duration uptime) { offset_ += uptime - this->uptime(); }
  void setBootId(std::string id) { bootId_ = std::move(id); }
  void setSessionId(std::string id) { sessionId_ = std::move(id); }

 private:
  const VirtualScheduler& scheduler_;
  Duration offset_ = std::chrono::hours(1);
  std::string bootId_ = "0b0a7c1e-5c1f-4f0e-9d7b-3f6f0c2d9a11";
  std::string sessionId_ = "1";
};

}  // namespace brindle
