#include "core/saved_state.h"

#include <algorithm>

namespace brindle {

bool sameContent(const SavedState& a, const SavedState& b) {
  const auto sameEvent = [](const EventRef& x, const EventRef& y) { return x == y || *x == *y; };
  return a.armedAt == b.armedAt && a.cameraOff == b.cameraOff && a.armedBy == b.armedBy &&
         a.armedAtMonotonicNs == b.armedAtMonotonicNs && a.armedAtBoot == b.armedAtBoot &&
         a.updateInstall == b.updateInstall && std::ranges::equal(a.events, b.events, sameEvent);
}

}  // namespace brindle
