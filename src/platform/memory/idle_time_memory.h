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
    const auto answer = [this, hangs = hangs_, done = std::move(done)] {
      done(available_ && !hangs ? std::optional(scheduler_.awakeTime() - touched_) : std::nullopt);
    };
    if (delay_ == Duration(0)) return scheduler_.post(answer);
    answer_ = scheduler_.after(delay_, answer);
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
  /// How long an answer takes from now on, and whether it is that there is none. One at a time.
  void setDelay(Duration delay, bool hangs = false) {
    delay_ = delay;
    hangs_ = hangs;
  }
  int reads() const { return reads_; }

 private:
  Scheduler& scheduler_;
  Duration touched_;
  bool available_ = true;
  Duration delay_{0};
  bool hangs_ = false;
  int reads_ = 0;
  Timer answer_;
  Listeners<> changes_;
};

}  // namespace brindle
