#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/lifetime.h"
#include "base/log.h"
#include "core/guard_collaborators.h"
#include "platform/file_events.h"
#include "platform/notifications.h"
#include "platform/opened_files.h"
#include "platform/running_apps.h"
#include "platform/scheduler.h"
#include "watch/opening_judge.h"
#include "watch/quiet_time.h"
#include "watch/reading_gate.h"
#include "watch/watch_list.h"
#include "watch/watch_reading.h"
#include "watch/watched_apps.h"

namespace brindle {

/// What the monitor works with; all of it outlives the monitor.
struct WatchMonitorServices {
  WatchList& list;
  FileEvents& events;
  OpenedFiles& opened;
  RunningApps& workspace;
  Scheduler& scheduler;
  FilesBelow filesBelow;
  std::function<WallTime()> now;  ///< the wall clock, asked on the streams' threads, too
  Log log;
};

struct WatchMonitorOptions {
  /// Where programs keep their files and never stop opening them: the folder in the owner's home
  /// that macOS has for it, and our own, which our helper programs read as well. Real paths.
  std::vector<std::string> busyFolders;
  std::vector<std::string> ownIDs{std::string(WatchList::ownBundleID),
                                  std::string(WatchList::ownDesktopID)};
  OpeningJudge::Known knownOpener = isKnownOpener;
  /// Whether watching is allowed now, and how to hear of changes to that; empty: it always is.
  std::function<bool()> allows;
  std::function<Subscription(std::function<void()> changed)> allowChanges;
};

/// Watches what the list holds while it is started: reports openings and missing decoys. Main
/// thread only; what streams see is read on their own threads. Reports come from the main loop.
class WatchMonitor final : public WatchMonitoring {
 public:
  /// Of hits on one item that come within this time the first is reported.
  static constexpr std::chrono::seconds fileDebounce{3}, appDebounce{10};

  WatchMonitor(WatchMonitorServices services, WatchMonitorOptions options);
  ~WatchMonitor();

  /// Somebody opened a watched item; `triggerFor` says what the guard calls that.
  std::function<void(const WatchHit&)> onTrigger;
  /// What the owner is to be told without having asked.
  std::function<void(const LocalNotification&)> onOwnerNotice;

  void start() override;
  void stop() override;

 private:
  using Target = std::shared_ptr<const WatchTarget>;
  using Watched = std::vector<OpenDetector::Watched>;
  /// A new stream, or why there is none; its batches wait at the gate.
  struct Opened {
    Result<std::unique_ptr<FileEventStream>, std::string> stream;
    std::shared_ptr<ReadingGate> gate;
    bool lacksRoom() const;
  };
  /// Why openings of an item are not seen.
  struct Reason {
    std::string why;
    std::string part;     ///< below a watched folder; empty when it is the item itself
    bool partly = false;  ///< others are seen
    std::string text() const;
  };
  using Reasons = std::map<Uuid, Reason>;

  bool watching() const;
  void requestRebuild();
  void rebuild();
  void endStream(bool deliverWhatIsDue);
  void listChanged(WatchList::Change change);
  Watched resolveTargets();
  void lookAtDecoy(const WatchTarget& target, const std::string& path);
  void lookAtDecoys();
  void replaceStream(const Watched& watched);
  Opened openStream(const ObservedPaths& paths);
  std::shared_ptr<WatchReading> newReading() const;
  void woken(std::uint64_t generation);
  void takeFound();
  void report(const WatchHit& hit, QuietTime& quiet);
  void appOpened(const WatchedApps::Target& target);
  void lookAtUnobserved();
  void noteUnopened(const std::string& why);
  void noteUnobserved(const Reasons& reasons);
  void tellOwner(const Reasons& reasons);
  void retryLater();
  void retry();

  WatchList& list_;
  FileEvents& events_;
  OpenedFiles& opened_;
  Scheduler& scheduler_;
  FilesBelow filesBelow_;
  const std::function<WallTime()> now_;
  Log log_;
  const WatchMonitorOptions options_;

  bool isRunning_ = false;
  /// Raised at every rebuild: what an older stream has posted is no longer waited for.
  std::uint64_t generation_ = 0;
  Subscription listChanges_, allowWatch_;
  std::vector<std::shared_ptr<void>> accessing_;  ///< rights to use the paths that are observed
  WatchedApps apps_;
  QuietTime lastFileHit_{fileDebounce}, lastAppHit_{appDebounce};

  std::shared_ptr<WatchReading> reading_;  ///< with the detector
  std::unique_ptr<FileEventStream> source_;
  Watched watched_;
  std::map<Uuid, std::string> decoys_;  ///< where each was at the last look
  std::set<Uuid> missing_;
  std::set<Uuid> unobserved_;  ///< targets that the list shows as not watchable because of us
  bool limited_ = false;       ///< for want of what the system may have later
  std::string told_;           ///< what the owner was told of them last

  bool rebuildPending_ = false;
  std::optional<Duration> rebuiltAt_;
  int attempt_ = 0;  ///< how often what is missing was looked for
  Timer rebuild_, look_, retry_;
  Lifetime lifetime_;
};

}  // namespace brindle
