#include <memory>
#include <utility>

#include "platform/file_step.h"
#include "watch/watch_list.h"

namespace brindle {
namespace {

WatchList::Removed outcomeOf(DecoyRemoval removal) {
  switch (removal) {
    case DecoyRemoval::removed:
      return WatchList::Removed::done;
    case DecoyRemoval::kept:
      return WatchList::Removed::decoyLeft;
    case DecoyRemoval::notThere:
      return WatchList::Removed::decoyNotFound;
  }
  return WatchList::Removed::decoyLeft;
}

}  // namespace

void WatchList::remove(const Uuid& id, std::function<void(Removed)> done) {
  const WatchTarget* target = find(id);
  if (!target) {
    return scheduler_.post(lifetime_.guard([done = std::move(done)] { done(Removed::notListed); }));
  }
  const std::string decoy = decoyPath(*target);
  const bool tripwire = target->kind == WatchTarget::Kind::tripwire;
  log_.notice("watch list: %{public}s removed, %{public}ld items",
              WatchTarget::kindNames.of(target->kind), targets_.size() - 1);
  drop(id);
  saving_.changed([done](bool saved) {
    if (!saved) done(Removed::notSaved);
  });
  // A decoy that went before the list did would be missed, and put back, after a crash between.
  saving_.whenRecorded([this, decoy, tripwire, done] {
    if (!decoy.empty()) return removeDecoy(decoy, done);
    done(tripwire ? Removed::decoyNotFound : Removed::done);
  });
}

void WatchList::drop(const Uuid& id) {
  std::erase_if(targets_, [&id](const WatchTarget& each) { return each.id == id; });
  known_.erase(id);
  tell(Change::targets);
}

void WatchList::takeBack(const Uuid& id, std::function<void()> done) {
  const WatchTarget* target = find(id);
  const std::string decoy = target ? decoyPath(*target) : std::string();
  drop(id);
  saving_.changed();
  if (decoy.empty()) return scheduler_.post(lifetime_.guard(std::move(done)));
  removeDecoy(decoy, [done = std::move(done)](Removed) { done(); });
}

/// Where the decoy is, or was. Empty when there can be none.
std::string WatchList::decoyPath(const WatchTarget& target) {
  if (target.kind != WatchTarget::Kind::tripwire) return {};
  const auto place = bookmarks_.resolve(target.bookmark);
  return place ? place->place.path : bookmarks_.lastPlace(target.bookmark);
}

void WatchList::removeDecoy(const std::string& path, std::function<void(Removed)> done) {
  const auto removal = std::make_shared<DecoyRemoval>();
  worker_.run([&files = files_, path, removal] { *removal = removeDecoyFile(files, path); },
              lifetime_.guard([this, removal, done = std::move(done)] {
                if (*removal == DecoyRemoval::kept) {
                  log_.notice("tripwire removed: what lies in its place was left alone");
                }
                if (done) done(outcomeOf(*removal));
              }));
}

void WatchList::lookAfterDecoys() {
  for (const WatchTarget& target : targets_) {
    if (target.kind != WatchTarget::Kind::tripwire) continue;
    const std::string before = bookmarks_.lastPlace(target.bookmark);
    const auto place = resolve(target.id);
    if (before.empty() || (place && place->path == before)) continue;
    decoyGone(target.id, folderOf(before), target.decoyFileName);
  }
}

void WatchList::decoyGone(const Uuid& id, const std::string& folder, const std::string& fileName) {
  const WatchTarget* target = find(id);
  if (!target || target->kind != WatchTarget::Kind::tripwire) return;
  const auto look = std::make_shared<DecoyLook>();
  worker_.run([&files = files_, folder, fileName, temporary = temporaryDecoyName(),
               look] { *look = lookAfterDecoy(files, folder, fileName, temporary); },
              lifetime_.guard([this, id, path = joinPath(folder, fileName), look] {
                judgeDecoy(id, path, *look);
              }));
}

void WatchList::judgeDecoy(const Uuid& id, const std::string& path, DecoyLook look) {
  WatchTarget* target = findMutable(id);
  if (!target) {
    // The owner removed the tripwire meanwhile.
    if (look == DecoyLook::putBack) removeDecoy(path, {});
    return;
  }
  switch (look) {
    case DecoyLook::there:
      if (rebookmark(*target, path)) return setMissing(id, false);
      return decoyMissing(*target);
    case DecoyLook::putBack:
      if (!rebookmark(*target, path)) return decoyMissing(*target);
      setMissing(id, false);
      log_.notice("tripwire gone: put back");
      tell(Change::targets);
      return tellOwner(id, "Tripwire put back",
                       "Your tripwire '" + target->displayName +
                           "' disappeared. Brindle put it back in '" + target->placeName + "'.");
    case DecoyLook::folderGone:
      // The folder may have a new name, and the decoy still be in it.
      if (resolve(id)) return tell(Change::targets);
      return decoyMissing(*target);
    case DecoyLook::nameTaken:
    case DecoyLook::failed:
      return decoyMissing(*target);
  }
}

/// A decoy that was put back is another file than the one that the bookmark was made of.
bool WatchList::rebookmark(WatchTarget& target, const std::string& path) {
  const auto place = bookmarks_.resolve(target.bookmark);
  if (place && place->place.path == path && !place->place.stale) return true;
  auto created = bookmarks_.create(path);
  // A link in the decoy's place leads somewhere else.
  if (!created || created->path != path) return false;
  target.bookmark = std::move(created->bookmark);
  saving_.changed();
  return true;
}

void WatchList::decoyMissing(const WatchTarget& target) {
  setMissing(target.id, true);
  if (std::exchange(known_[target.id].missingTold, true)) return;
  tell(Change::targets);  // who observes it looks for it from now on
  log_.notice("tripwire gone: could not be put back");
  tellOwner(target.id, "Tripwire missing",
            "Your tripwire '" + target.displayName + "' disappeared from '" + target.placeName +
                "', and Brindle couldn't put it back.");
}

}  // namespace brindle
