#include "watch/watch_monitor.h"

#include <algorithm>
#include <utility>

#include "watch/watched_paths.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

/// Renames that go on and on rebuild no more often than this.
constexpr Duration betweenRebuilds = 500ms;
/// How long after events come what a stream does not see is looked at: a limit may have been met.
constexpr Duration lookAfter = 5s;

}  // namespace

WatchMonitor::WatchMonitor(WatchMonitorServices services, WatchMonitorOptions options)
    : list_(services.list),
      events_(services.events),
      opened_(services.opened),
      scheduler_(services.scheduler),
      filesBelow_(std::move(services.filesBelow)),
      now_(std::move(services.now)),
      log_(services.log),
      options_(std::move(options)),
      apps_(services.workspace, options_.ownIDs,
            [this](const WatchedApps::Target& target) { appOpened(target); }) {}

WatchMonitor::~WatchMonitor() { endStream(false); }

void WatchMonitor::start() {
  if (std::exchange(isRunning_, true)) return;
  lastFileHit_.forget();
  lastAppHit_.forget();
  listChanges_ = list_.onChange([this](WatchList::Change change) { listChanged(change); });
  if (options_.allowChanges) allowWatch_ = options_.allowChanges([this] { requestRebuild(); });
  requestRebuild();
}

void WatchMonitor::stop() {
  if (!std::exchange(isRunning_, false)) return;
  listChanges_.end();
  allowWatch_.end();
  apps_.watch({});
  rebuild_.cancel();
  retry_.cancel();
  look_.cancel();
  rebuildPending_ = false;
  rebuiltAt_.reset();
  endStream(false);
  accessing_.clear();
  log_.notice("watch: stopped, %{public}ld openings by known programs left out",
              reading_ ? reading_->judge().leftOut() : 0);
  reading_.reset();
  decoys_.clear();
  missing_.clear();
  told_.clear();
  attempt_ = 0;
}

bool WatchMonitor::watching() const {
  return isRunning_ && (!options_.allows || options_.allows());
}

/// From the main loop and not at once: turning on does not wait for it, and changes that come
/// together share one.
void WatchMonitor::requestRebuild() {
  if (!isRunning_ || std::exchange(rebuildPending_, true)) return;
  const Duration due = rebuiltAt_ ? *rebuiltAt_ + betweenRebuilds - scheduler_.awakeTime() : 0s;
  rebuild_ = scheduler_.after(due, [this] { rebuild(); });
}

void WatchMonitor::rebuild() {
  rebuildPending_ = false;
  rebuild_.cancel();
  rebuiltAt_ = scheduler_.awakeTime();
  retry_.cancel();
  look_.cancel();
  if (!watching()) {
    endStream(true);
    accessing_.clear();
    takeFound();
    return reading_.reset();
  }
  if (!reading_) reading_ = newReading();
  const auto accessedBefore = std::exchange(accessing_, {});  // until the old stream has ended
  const Watched watched = resolveTargets();
  log_.notice("watch: %{public}ld files and folders, %{public}ld apps, %{public}ld missing",
              watched.size(), apps_.count(), missing_.size());
  replaceStream(watched);
  takeFound();
  retryLater();
}

/// What the stream has seen counts, however late it comes; nothing of it comes later.
void WatchMonitor::endStream(bool deliverWhatIsDue) {
  auto ending = std::move(source_);
  if (ending && deliverWhatIsDue) ending->flush();
}

std::shared_ptr<WatchReading> WatchMonitor::newReading() const {
  OpenDetector::Surroundings surroundings{
      [&opened = opened_](const std::string& path) { return opened.lastUsed(path); }, filesBelow_,
      now_};
  return std::make_shared<WatchReading>(OpenDetector(std::move(surroundings)),
                                        OpeningJudge(opened_, options_.knownOpener));
}

WatchMonitor::Opened WatchMonitor::openStream(const ObservedPaths& paths) {
  ++generation_;
  // Made here, on the main thread; the stream's thread only hands copies to the scheduler.
  const Task wake = lifetime_.guard([this, generation = generation_] { woken(generation); });
  const auto gate = std::make_shared<ReadingGate>();
  const auto deliver = [gate, wake, &scheduler = scheduler_](const std::vector<FileEvent>& batch) {
    if (gate->read(batch)) scheduler.post(wake);
  };
  return {events_.open(paths, deliver), gate};
}

/// The new stream runs before the old one ends, so that no opening falls between them. One that
/// both see is one: the item is quiet by then.
void WatchMonitor::replaceStream(const Watched& watched) {
  const ObservedPaths paths = observedPaths(watched, options_.busyFolders);
  auto dates = reading_->detector().datesNow(watched);
  std::optional<Opened> next;
  if (!watched.empty()) next = openStream(paths);
  if (source_ && next && next->lacksRoom()) {
    // Two at once take twice of what the system limits.
    next->gate->open(nullptr);
    next.reset();
    endStream(true);
    next = openStream(paths);
  }
  endStream(true);
  watched_ = watched;
  reading_->detector().watch(watched, paths.exclusions, std::move(dates));
  reading_->wakeAtNextBatch();
  if (!next) return noteUnobserved({});
  next->gate->open(reading_);
  if (next->stream) source_ = *std::move(next->stream);
  source_ ? lookAtUnobserved() : noteUnopened(next->stream.error());
}

bool WatchMonitor::Opened::lacksRoom() const {
  return !stream || std::ranges::any_of((*stream)->unobserved(), &UnobservedPath::limit);
}

void WatchMonitor::woken(std::uint64_t generation) {
  if (generation != generation_ || !source_) return;
  takeFound();
  if (!source_ || look_.armed()) return;
  look_ = scheduler_.after(lookAfter, [this] {
    reading_->wakeAtNextBatch();
    lookAtUnobserved();
    retryLater();
  });
}

void WatchMonitor::listChanged(WatchList::Change change) {
  if (change == WatchList::Change::targets) {
    attempt_ = 0;
    return requestRebuild();
  }
  // A decoy that could not be put back is looked for like whatever else is missing.
  for (const auto& [id, path] : decoys_) {
    if (list_.state(id).missing) missing_.insert(id);
  }
  retryLater();
}

void WatchMonitor::takeFound() {
  if (!reading_) return;
  const OpenDetector::Found found = reading_->take();
  if (found.rootsChanged) {
    attempt_ = 0;  // what is away may be back in a moment
    requestRebuild();
  }
  for (const WatchHit& hit : found.hits) report(hit, lastFileHit_);
  for (const DecoyGone& gone : found.gone) {
    list_.decoyGone(gone.target->id, gone.folder, gone.fileName);
  }
  if (found.scanned) lookAtDecoys();
}

/// A hit on what the owner has meanwhile taken off the list is none.
void WatchMonitor::report(const WatchHit& hit, QuietTime& quiet) {
  const WatchTarget& target = *hit.target;
  if (!list_.find(target.id) || !quiet.passes(target.id, now_())) return;
  log_.notice("watch: %{public}s opened: %{private}s", WatchTarget::kindNames.of(target.kind),
              target.displayName);
  const bool dated =
      target.kind == WatchTarget::Kind::file || target.kind == WatchTarget::Kind::tripwire;
  if (dated) list_.noteUsed(target.id, hit.at);
  if (onTrigger) onTrigger(hit);
}

void WatchMonitor::appOpened(const WatchedApps::Target& target) {
  if (watching()) report({target, now_(), {}}, lastAppHit_);
}

}  // namespace brindle
