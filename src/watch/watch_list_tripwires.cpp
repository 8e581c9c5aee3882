#include <memory>
#include <utility>

#include "platform/file_step.h"
#include "watch/watch_list.h"

namespace brindle {

void WatchList::remove(const Uuid& id, std::function<void(Removed)> done) {
  const WatchTarget* target = find(id);
  if (!target) {
    return scheduler_.post(lifetime_.guard([done = std::move(done)] { done(Removed::notListed); }));
  }
  const std::string decoy = removedDecoyPath(*target);
  log_.notice("watch list: %{public}s removed, %{public}ld items",
              WatchTarget::kindNames.of(target->kind), targets_.size() - 1);
  std::erase_if(targets_, [&id](const WatchTarget& each) { return each.id == id; });
  states_.erase(id);
  probes_.erase(id);
  tell(Change::targets);
  const auto once = std::make_shared<std::function<void(Removed)>>(std::move(done));
  const auto answer = [once](Removed how) {
    if (const auto told = std::exchange(*once, nullptr)) told(how);
  };
  saving_.changed([answer, last = decoy.empty()](bool saved) {
    if (!saved) return answer(Removed::notSaved);
    if (last) answer(Removed::done);
  });
  // A decoy that went before the list did would be missed, and put back, after a crash between.
  if (!decoy.empty()) {
    saving_.whenRecorded([this, decoy, answer] { removeDecoy(decoy, answer); });
  }
}

/// Empty when there is nothing to be removed.
std::string WatchList::removedDecoyPath(const WatchTarget& target) {
  if (target.kind != WatchTarget::Kind::tripwire) return {};
  const auto place = bookmarks_.resolve(target.bookmark);
  return place ? place->place.path : std::string();
}

void WatchList::removeDecoy(const std::string& path, std::function<void(Removed)> done) {
  const auto removal = std::make_shared<DecoyRemoval>();
  worker_.run([&files = files_, path, removal] { *removal = removeDecoyFile(files, path); },
              lifetime_.guard([this, removal, done = std::move(done)] {
                const bool kept = *removal == DecoyRemoval::kept;
                if (kept) log_.notice("tripwire removed: what lies in its place was left alone");
                if (done) done(kept ? Removed::decoyLeft : Removed::done);
              }));
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
  log_.notice("tripwire gone: could not be put back");
  tellOwner(target.id, "Tripwire missing",
            "Your tripwire '" + target.displayName + "' disappeared from '" + target.placeName +
                "', and Brindle couldn't put it back.");
}

}  // namespace brindle
