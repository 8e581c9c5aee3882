#include "service/sleep_hold.h"

#include <utility>

namespace brindle {

void SleepHolds::hold(std::vector<Uuid> ops, SleepPermission allow, Duration cap) {
  if (ops.empty()) {
    log_.notice("sleep: nothing on its way, let go at once");
    allow.allow();
    return;
  }
  log_.notice("sleep: held for %{public}ld request(s), cap %{public}f s", ops.size(),
              secondsOf(cap));
  const auto hold = sleepHolds_.insert(
      sleepHolds_.end(), {std::move(ops), std::move(allow), scheduler_.awakeTime(), {}});
  hold->waitOutSleepCap = scheduler_.after(cap, [this, hold] { letGo(hold, "cap"); });
}

void SleepHolds::answered(const Uuid& op) {
  for (auto hold = sleepHolds_.begin(); hold != sleepHolds_.end();) {
    const auto next = std::next(hold);
    if (std::erase(hold->ops, op) > 0 && hold->ops.empty()) letGo(hold, "done");
    hold = next;
  }
}

void SleepHolds::letGo(Holds::iterator hold, std::string_view reason) {
  hold->allow.allow();
  log_.notice("sleep: let go after %{public}ld ms (%{public}s)",
              millisecondsOf(scheduler_.awakeTime() - hold->begun), reason);
  sleepHolds_.erase(hold);
}

}  // namespace brindle
