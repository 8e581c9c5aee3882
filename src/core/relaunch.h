#pragma once

#include <vector>

#include "core/alert_reports.h"
#include "core/event_history.h"

namespace brindle {

// What a start makes of the history that the last run left.

/// Photos that reached the disk for an event still waiting for them, but not its record: the run
/// ended between the two. Afterwards no event waits any more.
void takeUpPhotos(EventHistory& history, PhotoVault& vault);

/// Every event that is still owed a report gets its hold back, shortened by the time gone by. One
/// that ran out meanwhile is released at once; one that was released before is only handed over.
void resumeHolds(const EventHistory& history, AlertReports& reports, Duration delay, WallTime now);

}  // namespace brindle
