#include "core/opening_folding.h"

namespace brindle {

EventRef OpeningFolding::target(const EventRef& beingHandled, const EventRef& last, WallTime now) {
  const EventRef& event = beingHandled ? beingHandled : last;
  if (!event || event->resolved || event->attemptOnly) return nullptr;
  const auto since = now - event->date;
  return since >= Duration::zero() && since <= window ? event : nullptr;
}

}  // namespace brindle
