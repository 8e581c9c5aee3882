#pragma once

#include <functional>
#include <map>
#include <set>

#include "base/lifetime.h"
#include "core/event_files.h"
#include "core/event_history.h"
#include "core/guard_collaborators.h"

namespace brindle {

/// What an event may get besides photos: a clip, and where it happened. Main thread only.
class OccurrenceExtras {
 public:
  OccurrenceExtras(const GuardCollaborators& collaborators, EventHistory& history,
                   EventFiles& files, Log log)
      : collaborators_(collaborators), history_(history), files_(files), log_(log) {}

  /// A clip is in its event.
  std::function<void(const Uuid& event)> onClip;

  void begin(const Uuid& event, bool opening);
  /// The event needs neither any more.
  void end(const Uuid& event);
  void endAll();
  bool clipUnderWay() const { return !clipTasks_.empty(); }
  const std::set<Uuid>& clipsWithSound() const { return clipsWithSound_; }

 private:
  void locate(const Uuid& event);
  void clipDone(const Uuid& event, bool opening, const ClipRecording::Clip& clip);
  bool attach(const Uuid& event, bool opening, const FileName& file);

  const GuardCollaborators& collaborators_;
  EventHistory& history_;
  EventFiles& files_;
  Log log_;
  std::multiset<Uuid> clipTasks_;
  std::set<Uuid> clipsWithSound_;
  std::map<Uuid, Subscription> locationTasks_;
  Lifetime lifetime_;
};

}  // namespace brindle
