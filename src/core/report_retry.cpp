#include "core/report_retry.h"

#include <vector>

namespace brindle {

void ReportRetry::failed(const Uuid& event) {
  Wait& wait = reportWaits_[event];
  const std::size_t failures = wait.failures++;
  if (failures >= waits.size()) return wait.timer.cancel();
  wait.timer = scheduler_.after(waits[failures], [this, event] { again_(Uuid(event)); });
}

void ReportRetry::hurry() {
  std::vector<Uuid> due;
  for (auto& [event, wait] : reportWaits_) {
    wait.timer.cancel();
    due.push_back(event);
  }
  for (const Uuid& event : due) again_(event);
}

}  // namespace brindle
