#include "watch/watch_list.h"

#include <algorithm>
#include <utility>

#include "platform/file_step.h"

namespace brindle {

using Problem = Bookmarks::Problem;

WatchList::WatchList(WatchListServices services, std::string fileURL)
    : files_(services.files),
      worker_(services.worker),
      scheduler_(services.scheduler),
      random_(services.random),
      events_(services.events),
      apps_(services.apps),
      log_(services.log),
      bookmarks_(services.bookmarks),
      file_(services.files, std::move(fileURL), std::move(services.localStamp), services.log),
      saving_(
          file_, services.worker, services.scheduler, [this] { return targets_; },
          [this] { tell(Change::states); }),
      probes_(services.events, services.scheduler,
              {[this](const Uuid& id) -> std::optional<std::string> {
                 auto place = resolve(id);
                 return place ? std::optional(std::move(place->path)) : std::nullopt;
               },
               [this](const Uuid& id, bool seen) { noteSeen(id, seen); }}) {}

void WatchList::load() {
  targets_ = file_.load();
  problem_ = file_.problem();
  tell(Change::targets);
}

WatchTarget* WatchList::findMutable(const Uuid& id) {
  const auto found = std::ranges::find(targets_, id, &WatchTarget::id);
  return found == targets_.end() ? nullptr : &*found;
}

const WatchTarget* WatchList::find(const Uuid& id) const {
  const auto found = std::ranges::find(targets_, id, &WatchTarget::id);
  return found == targets_.end() ? nullptr : &*found;
}

WatchTargetState WatchList::state(const Uuid& id) const {
  const auto found = known_.find(id);
  if (found == known_.end()) return {};
  const WatchTargetKnown& known = found->second;
  const bool unseen = known.unobserved.empty() && known.unseen;
  return {known.missing, unseen ? WatchListProbes::openingsUnseen : known.unobserved};
}

Result<ResolvedBookmark, Problem> WatchList::resolve(const Uuid& id) {
  WatchTarget* target = findMutable(id);
  if (!target || target->bookmark.empty()) return Failure<Problem>(Problem::other);
  auto resolved = bookmarks_.resolve(target->bookmark);
  const std::string_view kind = WatchTarget::kindNames.of(target->kind);
  if (!resolved && !state(id).missing) log_.notice("watch list: %{public}s missing", kind);
  setMissing(id, !resolved);
  if (!resolved) return Failure<Problem>(resolved.error());
  if (auto& renewed = resolved->renewed; renewed.has_value()) {
    target->bookmark = *std::move(renewed);
    log_.notice("watch list: bookmark of %{public}s renewed", kind);
    saving_.changed();
  }
  return std::move(resolved->place);
}

void WatchList::noteUsed(const Uuid& id, WallTime lastSeenUsedDate) {
  WatchTarget* target = findMutable(id);
  if (!target || target->lastSeenUsedDate == lastSeenUsedDate) return;
  noteSeen(id, true);
  target->lastSeenUsedDate = lastSeenUsedDate;
  saving_.changed();
}

void WatchList::noteUnwatchable(const Uuid& id, const std::string& why) {
  if (!find(id) || known_[id].unobserved == why) return;
  known_[id].unobserved = why;
  tell(Change::states);
}

void WatchList::noteSeen(const Uuid& id, bool seen) {
  if (!find(id) || known_[id].unseen != seen) return;
  known_[id].unseen = !seen;
  tell(Change::states);
}

std::vector<Uuid> WatchList::lookable() {
  std::vector<Uuid> items;
  for (const WatchTarget& target : targets_) {
    if (target.kind == WatchTarget::Kind::app) continue;
    noteUnwatchable(target.id, "");  // of an observation that is over
    items.push_back(target.id);
  }
  return items;
}

void WatchList::setMissing(const Uuid& id, bool missing) {
  if (state(id).missing == missing) return;
  known_[id].missing = missing;
  if (!missing) known_[id].missingTold = false;
  tell(Change::states);
}

void WatchList::tell(Change change) {
  scheduler_.post(lifetime_.guard([this, change] { changes_.tell(change); }));
}

void WatchList::tellOwner(const Uuid& id, const std::string& title, const std::string& body) {
  const LocalNotification notification{"tripwire-" + id.lower(), title, body};
  scheduler_.post(lifetime_.guard([this, notification] { notices_.tell(notification); }));
}

std::string WatchList::temporaryDecoyName() { return temporaryName(random_.newUuid().lower()); }

}  // namespace brindle
