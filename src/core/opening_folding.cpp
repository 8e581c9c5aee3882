#include "core/opening_folding.h"

namespace brindle {

EventRef OpeningFolding::target(const EventRef& beingHandled, const EventRef& last, WallTime now) {
  const EventRef& event = beingHandled ? beingHandled : last;
  if (!event || event->resolved || event->attemptOnly) return nullptr;
  // In the unit of dates: those of a document reach further than durations do.
  const WallTime::duration since = now - event->date;
  constexpr auto longest = std::chrono::duration_cast<WallTime::duration>(window);
  return since >= since.zero() && since <= longest ? event : nullptr;
}

}  // namespace brindle
