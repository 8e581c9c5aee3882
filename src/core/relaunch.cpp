#include "core/relaunch.h"

#include <algorithm>

namespace brindle {

namespace {

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

}  // namespace

void takeUpPhotos(EventHistory& history, PhotoVault& vault) {
  const bool waiting = std::ranges::any_of(
      history.events(), [](const EventRef& event) { return event->photoPending; });
  if (!waiting) return;
  adoptPhotos(history, vault.photoNames());
  closeUnfinished(history);
}

void resumeHolds(const EventHistory& history, AlertReports& reports, Duration delay, WallTime now) {
  for (const EventRef& event : EventList(history.events())) {
    reports.resume(*event, delay, heldSoFar(event->date, now));
  }
}

}  // namespace brindle
