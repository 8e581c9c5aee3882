#pragma once

#include <functional>
#include <string>

#include "base/log.h"
#include "platform/bookmarks.h"
#include "platform/file_events.h"
#include "platform/files.h"
#include "platform/random.h"
#include "platform/running_apps.h"
#include "platform/scheduler.h"
#include "platform/worker_queue.h"

namespace brindle {

/// What the list works with; all of it outlives the list.
struct WatchListServices {
  Files& files;
  WorkerQueue& worker;  ///< all file work but the reading at launch
  Scheduler& scheduler;
  Random& random;
  Bookmarks& bookmarks;
  FileEvents& events;  ///< for the look whether openings of an item are seen
  const RunningApps& apps;
  std::function<std::string()> localStamp;  ///< local calendar time "yyyyMMdd-HHmmss"
  Log log;
};

/// How a target stands in this run; none of it is kept on disk.
struct WatchTargetState {
  bool missing = false;     ///< its bookmark led nowhere when it was last followed
  std::string unwatchable;  ///< not empty: why its openings are not seen, for a person
  bool operator==(const WatchTargetState&) const = default;
};

/// What the list knows of a target in this run.
struct WatchTargetKnown {
  bool missing = false;
  bool missingTold = false;  ///< the owner knows that the decoy is gone, until it was back
  std::string unobserved;    ///< why the observation under way does not see its openings
  bool unseen = false;       ///< an opening by ourselves was not seen
};

}  // namespace brindle
