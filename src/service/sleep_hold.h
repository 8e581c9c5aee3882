#pragma once

#include <list>
#include <string_view>
#include <vector>

#include "base/log.h"
#include "base/uuid.h"
#include "platform/scheduler.h"
#include "platform/system_power.h"

namespace brindle {

/// One announced sleep that waits for requests on their way. When it goes, the machine may sleep,
/// however it goes.
struct SleepHold {
  std::vector<Uuid> ops;  ///< operations that have not been answered yet
  SleepPermission allow;
  Duration begun{};
  Timer waitOutSleepCap;

  /// The announcement that it answers.
  std::int64_t asked() const { return allow.identifier(); }
};

/// Keeps the machine awake for what is on its way, never longer than the cap. Main thread only.
class SleepHolds {
 public:
  SleepHolds(Scheduler& scheduler, Log log) : scheduler_(scheduler), log_(log) {}

  /// Lets go at once when there is nothing to wait for.
  void hold(std::vector<Uuid> ops, SleepPermission allow, Duration cap);
  /// The operation was answered, or is not sent any more.
  void answered(const Uuid& op);
  bool empty() const { return sleepHolds_.empty(); }

 private:
  using Holds = std::list<SleepHold>;
  void letGo(Holds::iterator hold, std::string_view reason);

  Scheduler& scheduler_;
  Log log_;
  Holds sleepHolds_;
};

}  // namespace brindle
