#pragma once

#include "platform/idle_time.h"
#include "platform/linux/dbus_link.h"

namespace brindle {

/// The idle time that this desktop tells.
class LinuxIdleTime final : public IdleTime {
 public:
  LinuxIdleTime(LinuxScheduler& scheduler, DbusLink&, Log) : scheduler_(scheduler) {}

  void read(std::function<void(std::optional<Duration>)> done) override {
    scheduler_.post([done = std::move(done)] { done(std::nullopt); });
  }
  bool available() const override { return false; }
  [[nodiscard]] Subscription onAvailable(std::function<void()>) override { return {}; }
  ServiceReport report() const override {
    return {"idle time", "none", false, "nobody is asked yet"};
  }

 private:
  Scheduler& scheduler_;
};

}  // namespace brindle
