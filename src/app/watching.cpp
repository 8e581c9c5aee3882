#include "app/watching.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <utility>

#include "app/brindle_app.h"
#include "core/saved_state_json.h"
#include "platform/file_step.h"
#include "platform/posix/files_below_posix.h"

namespace brindle {
namespace {

constexpr std::string_view listName = "watch-list.json";

/// On any thread, which the scheduler's is not for.
WallTime wallClock() {
  return std::chrono::floor<WallTime::duration>(std::chrono::system_clock::now());
}

/// A document that cannot be read may be one that is on.
bool isOff(Files& files, const std::string& data) {
  const auto bytes = files.read(joinPath(data, "state.json"));
  if (!bytes) return bytes.error().kind == FileError::Kind::notFound;
  const auto state = readSavedState(textOf(*bytes));
  return state && !state->state.armedAt;
}

WatchMonitorOptions optionsOf(const WatchingServices& services, const std::string& data) {
  WatchMonitorOptions options;
  std::error_code failed;
  options.busyFolders = {std::filesystem::weakly_canonical(data, failed).string()};
  if (!services.libraryFolder.empty()) options.busyFolders.push_back(services.libraryFolder);
  return options;
}

}  // namespace

Watching::Watching(const Services& services, const std::string& data,
                   std::function<void(const Trigger&, const Uuid&)> opened)
    : services_(services.watching),
      notifications_(services.notifications),
      list_({services.files, services.watching.work, services.scheduler, services.random,
             services.watching.bookmarks, services.watching.events, services.watching.apps,
             localStamp, Log(services.log)},
            joinPath(data, std::string(listName))),
      monitor_({list_, services.watching.events, services.watching.opened, services.watching.apps,
                services.scheduler, filesBelow, wallClock, Log(services.log)},
               optionsOf(services.watching, data)) {
  const auto tell = [this](const LocalNotification& notice) { notifications_.post(notice, {}); };
  notices_ = list_.onOwnerNotice(tell);
  monitor_.onOwnerNotice = tell;
  monitor_.onTrigger = [opened = std::move(opened)](const WatchHit& hit) {
    opened(triggerFor(*hit.target), hit.target->id);
  };
}

void Watching::look() {
  tellProblem();
  list_.lookAgain();
  list_.lookAfterDecoys();
}

void Watching::start() {
  tellProblem();
  list_.stopLooking();
  list_.lookAfterDecoys();
  monitor_.start();
}

void Watching::stop() {
  monitor_.stop();
  list_.lookAgain();
}

void Watching::tellProblem() {
  if (list_.problem().empty() || std::exchange(problemTold_, true)) return;
  notifications_.post({"watch-list", "Watched items can't be read", list_.problem()}, {});
}

ServiceReport Watching::report(bool withNames) const {
  return watchReport(known(), list_.problem(), withNames);
}

std::vector<WatchedItem> Watching::known() const {
  std::vector<WatchedItem> items;
  for (const WatchTarget& target : list_.targets()) {
    items.push_back({target, list_.state(target.id), {}});
  }
  return items;
}

std::vector<WatchedItem> Watching::items() {
  std::vector<WatchedItem> items = known();
  for (WatchedItem& each : items) {
    if (each.target.kind == WatchTarget::Kind::app) continue;
    if (const auto place = list_.resolve(each.target.id)) each.path = place->path;
    each.state = list_.state(each.target.id);
  }
  return items;
}

WatchedOnDisk::WatchedOnDisk(const Services& services, const std::string& data)
    : bookmarks_(services.watching.bookmarks),
      file_(services.files, joinPath(data, std::string(listName)), localStamp, Log(services.log)),
      withNames_(isOff(services.files, data)),
      probes_(services.watching.events, services.scheduler,
              {[this](const Uuid& id) { return placeOf(id); },
               [this](const Uuid& id, bool seen) {
                 item(id).state.unwatchable = seen ? "" : WatchListProbes::openingsUnseen;
               }}) {
  for (const WatchTarget& target : file_.read()) items_.push_back({target, {}, {}});
}

void WatchedOnDisk::look(std::function<void()> done) {
  std::vector<Uuid> all;
  for (const auto& [target, state, path] : items_) {
    if (target.kind != WatchTarget::Kind::app) all.push_back(target.id);
  }
  probes_.beginWithin(longestLook, std::move(all), [this, done = std::move(done)](auto late) {
    late_ = late;
    done();
  });
}

WatchedItem& WatchedOnDisk::item(const Uuid& id) {
  return *std::ranges::find(items_, id, [](const WatchedItem& each) { return each.target.id; });
}

std::optional<std::string> WatchedOnDisk::placeOf(const Uuid& id) {
  WatchedItem& looked = item(id);
  const auto place = bookmarks_.resolve(looked.target.bookmark);
  looked.state.missing = !place;
  return place ? std::optional(place->path) : std::nullopt;
}

ServiceReport WatchedOnDisk::report() const {
  ServiceReport report = watchReport(items_, file_.problem(), withNames_);
  if (late_ > 0) report.detail += "; " + notLookedAt(late_);
  return report;
}

}  // namespace brindle
