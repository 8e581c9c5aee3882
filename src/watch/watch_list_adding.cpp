#include <algorithm>
#include <utility>

#include "base/utf8.h"
#include "platform/file_step.h"
#include "watch/watch_list.h"

namespace brindle {
namespace {

using Problem = Bookmarks::Problem;

/// The last piece of a path that may end in slashes, for a person: where names are bytes, they need
/// not be text.
std::string itemName(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path == "/" ? path : repairedUtf8(nameOf(path));
}

std::string placeNameOf(const std::string& path) { return itemName(folderOf(path)); }

std::string alreadyWatched(const std::string& name) { return "'" + name + "' is already watched."; }

/// Changes made on other machines come to these folders without anybody opening anything here.
std::optional<std::string> placeRefusal(const std::string& path, const std::string& name) {
  const std::string pieces = path + "/";
  if (pieces.find("/Library/Mobile Documents/") != std::string::npos) {
    return "'" + name +
           "' is in iCloud Drive. Brindle can't watch iCloud Drive yet, so choose something kept "
           "on this Mac.";
  }
  if (pieces.find("/Library/CloudStorage/") != std::string::npos) {
    return "'" + name +
           "' is in a cloud storage folder. Brindle can't watch those yet, so choose something "
           "kept on this Mac.";
  }
  return std::nullopt;
}

std::string notAllowed(const std::string& name) {
  return "Brindle isn't allowed to look at '" + name + "'.";
}

std::string problemText(Problem problem, const std::string& name) {
  switch (problem) {
    case Problem::gone:
      return "'" + name + "' isn't there.";
    case Problem::denied:
      return notAllowed(name);
    case Problem::unreadable:
    case Problem::other:
      return "'" + name + "' can't be watched.";
  }
  return {};
}

/// The entries of this program that desktops have for one purpose each are this program, too.
bool isOurs(std::string_view id) {
  const std::string_view own = WatchList::ownBundleID;
  return id == own || id == WatchList::ownDesktopID ||
         (id.starts_with(own) && id.substr(own.size()).starts_with('.'));
}

/// What a look at an item tells; on the worker.
enum class Sort { file, folder, denied };
Sort sortOf(Files& files, const std::string& path) {
  const auto entries = files.list(path);
  if (entries) return Sort::folder;
  return entries.error().kind == FileError::Kind::denied ? Sort::denied : Sort::file;
}

}  // namespace

void WatchList::refuse(const Added& done, std::string why) {
  log_.notice("watch list: not added: %{private}s", why);
  scheduler_.post(
      lifetime_.guard([done, why = std::move(why)] { done(Failure<std::string>(why)); }));
}

WatchTarget WatchList::begun(WatchTarget::Kind kind, std::string displayName,
                             std::string placeName) {
  WatchTarget target;
  target.id = random_.newUuid();
  target.kind = kind;
  target.displayName = std::move(displayName);
  target.placeName = std::move(placeName);
  target.addedAt = scheduler_.wallTime();
  return target;
}

void WatchList::addFileOrFolder(const std::string& path, Added done) {
  const std::string name = itemName(path);
  if (auto why = placeRefusal(path, name)) return refuse(done, *std::move(why));
  auto created = bookmarks_.create(path);
  if (!created) return refuse(done, problemText(created.error(), name));
  if (auto why = placeRefusal(created->path, name)) return refuse(done, *std::move(why));
  const auto adding = std::make_shared<Adding>();
  adding->path = created->path;
  adding->done = std::move(done);
  adding->target =
      begun(WatchTarget::Kind::file, itemName(created->path), placeNameOf(created->path));
  adding->target.bookmark = std::move(created->bookmark);
  if (watches(*adding)) return refuse(adding->done, alreadyWatched(name));
  lookAt(adding);
}

void WatchList::lookAt(const AddingRef& adding) {
  const auto sort = std::make_shared<Sort>();
  worker_.run([&files = files_, path = adding->path, sort] { *sort = sortOf(files, path); },
              lifetime_.guard([this, adding, sort] {
                if (*sort == Sort::denied) {
                  return adding->done(Failure<std::string>(notAllowed(adding->target.displayName)));
                }
                const bool folder = *sort == Sort::folder;
                adding->target.kind = folder ? WatchTarget::Kind::folder : WatchTarget::Kind::file;
                probe(adding);
              }));
}

/// Before it is in the list, so that no stream takes our own opening for somebody's.
void WatchList::probe(const AddingRef& adding) {
  adding_.push_back(adding);
  const std::weak_ptr<Adding> waiting = adding;
  adding->probe = events_.probe(adding->path, lifetime_.guard([this, waiting](bool seen) {
    const AddingRef answered = waiting.lock();
    if (!answered) return;
    answered->seen = seen;
    // Not from within the probe, which ends with the addition.
    scheduler_.post(lifetime_.guard([this, answered] { append(answered); }));
  }));
}

bool WatchList::watches(const Adding& adding) {
  return std::ranges::any_of(targets_, [this, &adding](const WatchTarget& each) {
    if (adding.target.kind == WatchTarget::Kind::app) {
      return each.kind == WatchTarget::Kind::app && each.bundleID == adding.target.bundleID;
    }
    if (each.bookmark.empty()) return false;
    const auto place = bookmarks_.resolve(each.bookmark);
    return place && place->place.path == adding.path;
  });
}

void WatchList::append(const AddingRef& adding) {
  std::erase(adding_, adding);
  adding->probe.end();
  const WatchTarget& target = adding->target;
  // The same item may have been added twice at once.
  if (watches(*adding)) return refuse(adding->done, alreadyWatched(target.displayName));
  targets_.push_back(target);
  problem_.clear();
  if (!adding->seen) known_[target.id].unseen = true;
  log_.notice("watch list: %{public}s added, %{public}ld items",
              WatchTarget::kindNames.of(target.kind), targets_.size());
  saving_.changed([adding](bool saved) { adding->done(AddedTarget{adding->target, saved}); });
  tell(Change::targets);
}

void WatchList::addApp(const std::string& pathOrId, Added done) {
  const auto app = apps_.identify(pathOrId);
  if (!app || app->id.empty()) return refuse(done, "That isn't an app Brindle can watch.");
  if (isOurs(app->id)) {
    return refuse(done, "Brindle can't watch itself.");
  }
  if (app->id == "com.apple.finder") {
    return refuse(done, "Finder can't be watched: it comes to the front all the time.");
  }
  const auto adding = std::make_shared<Adding>();
  adding->done = std::move(done);
  adding->target = begun(WatchTarget::Kind::app, app->name,
                         pathOrId.starts_with('/') ? placeNameOf(pathOrId) : "");
  adding->target.bundleID = app->id;
  append(adding);
}

void WatchList::createTripwire(const std::string& name, const std::string& folder, Added done) {
  const std::string trimmed = trimmedDecoyName(name);
  if (auto why = decoyNameProblem(trimmed)) return refuse(done, *std::move(why));
  if (auto why = placeRefusal(folder, itemName(folder))) return refuse(done, *std::move(why));
  const auto place = bookmarks_.create(folder);
  if (!place) return refuse(done, std::string(decoyNotWritten));
  if (auto why = placeRefusal(place->path, itemName(folder))) return refuse(done, *std::move(why));
  const auto adding = std::make_shared<Adding>();
  const std::string fileName = decoyFileName(trimmed);
  adding->path = joinPath(place->path, fileName);
  adding->done = std::move(done);
  adding->target = begun(WatchTarget::Kind::tripwire, fileName, itemName(place->path));
  adding->target.decoyFileName = fileName;
  const auto written = std::make_shared<DecoyWrite>();
  worker_.run([&files = files_, path = adding->path, temporary = temporaryDecoyName(),
               written] { *written = writeDecoy(files, path, temporary); },
              lifetime_.guard([this, adding, written] { decoyWritten(adding, *written); }));
}

void WatchList::decoyWritten(const AddingRef& adding, DecoyWrite written) {
  if (written == DecoyWrite::nameTaken) {
    return refuse(adding->done, decoyNameTaken(adding->target.decoyFileName));
  }
  if (written == DecoyWrite::failed) return refuse(adding->done, std::string(decoyNotWritten));
  auto created = bookmarks_.create(adding->path);
  if (!created) {
    removeDecoy(adding->path, {});
    return refuse(adding->done, std::string(decoyNotWritten));
  }
  adding->target.bookmark = std::move(created->bookmark);
  probe(adding);
}

}  // namespace brindle
