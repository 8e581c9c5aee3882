#pragma once

#include <optional>

#include "base/uuid.h"
#include "platform/scheduler.h"

namespace brindle {

/// Whether somebody is busy proving to be the owner, for one occurrence. An open window says
/// nothing: it stays open for whoever is there. Main thread only.
class ProofActivity {
 public:
  /// How long the latest key counts.
  static constexpr Duration pause = std::chrono::seconds(10);
  /// Whoever types on and on cannot put a report off for ever.
  static constexpr Duration longest = std::chrono::minutes(5);

  explicit ProofActivity(const Scheduler& scheduler) : scheduler_(scheduler) {}

  /// Something was entered for this event. True when somebody became busy with it.
  bool used(const Uuid& event) {
    const bool was = busy(event);
    const Duration now = scheduler_.awakeTime();
    if (event_ != event) begun_ = now;
    event_ = event;
    latest_ = now;
    return !was && busy(event);
  }
  bool busy(const Uuid& event) const {
    const Duration now = scheduler_.awakeTime();
    return event_ == event && now - latest_ < pause && now - begun_ < longest;
  }

 private:
  const Scheduler& scheduler_;
  std::optional<Uuid> event_;
  Duration begun_{};
  Duration latest_{};
};

}  // namespace brindle
