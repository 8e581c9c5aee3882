#pragma once

#include <utility>

#include "platform/idle_time.h"
#include "platform/scheduler.h"

namespace brindle {

/// Input that a test makes.
class MemoryIdleTime final : public IdleTime {
 public:
  explicit MemoryIdleTime(Scheduler& scheduler)
      : scheduler_(scheduler), touched_(scheduler.awakeTime()) {}

  void read(std::function<void(std::optional<Duration>)> done) override {
    ++reads_;
    scheduler_.post([this, done = std::move(done)] {
      done(available_ ? std::optional(scheduler_.awakeTime() - touched_) : std::nullopt);
    });
  }
  bool available() const override { return available_; }
  [[nodiscard]] Subscription onAvailable(std::function<void()> changed) override {
    return changes_.add(std::move(changed));
  }
  ServiceReport report() const override { return {"idle time", "memory", available_, {}}; }

  void touch() { touched_ = scheduler_.awakeTime(); }
  void setAvailable(bool available) {
    available_ = available;
    scheduler_.post([this] { changes_.tell(); });
  }
  int reads() const { return reads_; }

 private:
  Scheduler& scheduler_;
  Duration touched_;
  bool available_ = true;
  int reads_ = 0;
  Listeners<> changes_;
};

}  // namespace brindle
