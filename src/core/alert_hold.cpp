#include "core/alert_hold.h"

#include <algorithm>

namespace brindle {

using std::chrono::seconds;

void AlertHold::begin(const Uuid& event, Duration delay, Duration elapsed) {
  const Duration now = clock_.uptime();
  const Duration left = std::max(delay - elapsed, Duration::zero());
  Hold& hold = holds_[event];
  hold.holdStart = now - elapsed;
  hold.due = now + std::chrono::ceil<seconds>(left);
  arm(event);
}

std::optional<std::int64_t> AlertHold::secondsLeft(const Uuid& event) const {
  const auto found = holds_.find(event);
  if (found == holds_.end()) return std::nullopt;
  const Duration left = std::max(found->second.due - clock_.uptime(), Duration::zero());
  return std::chrono::ceil<seconds>(left).count();
}

void AlertHold::arm(const Uuid& event) {
  Hold& hold = holds_.at(event);
  const Duration left = hold.due - clock_.uptime();
  const auto wallLeft = std::chrono::ceil<WallTime::duration>(left);
  // Copies of the identity: the hold that owns these tasks goes when they run.
  hold.awake = scheduler_.after(left, [this, event] { look(event); });
  hold.wall =
      scheduler_.atWallTime(scheduler_.wallTime() + wallLeft, [this, event] { look(event); });
}

void AlertHold::look(const Uuid& event) {
  const Uuid id = event;
  if (clock_.uptime() < holds_.at(id).due) return arm(id);
  holds_.erase(id);
  released_(id);
}

Duration heldSoFar(WallTime eventDate, WallTime now) {
  // Longer than any delay; compared before it is subtracted, since dates reach further than
  // durations do.
  constexpr auto enough = std::chrono::hours(24);
  if (eventDate >= now) return Duration::zero();
  return eventDate < now - enough ? enough : Duration(now - eventDate);
}

}  // namespace brindle
