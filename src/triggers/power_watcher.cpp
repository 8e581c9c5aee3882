#include "triggers/power_watcher.h"

#include <utility>

namespace brindle {

using namespace std::chrono_literals;

PowerWatcher::PowerWatcher(PowerSource& source, Scheduler& scheduler, Changed changed)
    : source_(source), scheduler_(scheduler), changed_(std::move(changed)) {}

void PowerWatcher::start() {
  if (!observers_.empty()) return;
  last_ = source_.read();
  observers_.push_back(source_.onChange([this] { look(); }));
  setPollsLid(!source_.tellsLid());
}

void PowerWatcher::stop() {
  observers_.clear();
  setPollsLid(false);
}

void PowerWatcher::look() {
  setPollsLid(!source_.tellsLid());
  const PowerReading now = source_.read();
  if (now == last_) return;
  const PowerReading before = std::exchange(last_, now);
  changed_(before, now);
}

// A new reading of the lid, as everything else, is told by the source.
void PowerWatcher::setPollsLid(bool pollsLid) {
  if (pollsLid == std::exchange(pollsLid_, pollsLid)) return;
  poll_ = pollsLid ? scheduler_.every(1s, [this] { source_.refresh(); }) : Timer();
}

}  // namespace brindle
