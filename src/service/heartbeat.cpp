#include "service/heartbeat.h"

#include <algorithm>

namespace brindle {

void Heartbeat::begin() {
  const double r = std::clamp(jitter_ ? jitter_() : random_.uniform(0, 1), 0.0, 1.0);
  const auto pause = std::chrono::duration<double>(heartbeatInterval_) * (0.8 + 0.4 * r);
  timer_ = scheduler_.after(std::chrono::duration_cast<Duration>(pause), [this] { due_(); });
}

}  // namespace brindle
