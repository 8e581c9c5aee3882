#include "core/relaunch.h"

#include <algorithm>

namespace brindle {

void adoptPhotos(EventHistory& history, const std::vector<FileName>& photoNames) {
  const EventList events = history.events();
  for (const EventRef& event : events) {
    if (!event->photoPending) continue;
    const std::vector<FileName> known = event->files();
    for (const FileName& name : photoNames) {
      const bool its = name.starts_with(event->id.upper() + "-") && name.ends_with(".jpg");
      if (!its || std::ranges::find(known, name) != known.end()) continue;
      history.change(event->id, [&](UnlockEvent& found) { found.photoFiles.push_back(name); });
    }
  }
}

void resumeHolds(const EventHistory& history, AlertReports& reports, Duration delay, WallTime now) {
  for (const EventRef& event : history.unresolved()) {
    if (event->alert != AlertState::none) continue;
    reports.hold(*event, delay, heldSoFar(event->date, now));
  }
}

}  // namespace brindle
