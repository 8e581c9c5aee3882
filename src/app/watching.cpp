#include "app/watching.h"

#include <chrono>
#include <filesystem>

#include "app/brindle_app.h"
#include "platform/file_step.h"
#include "platform/posix/files_below_posix.h"
#include "watch/watch_list_json.h"

namespace brindle {
namespace {

constexpr std::string_view listName = "watch-list.json";

/// On any thread, which the scheduler's is not for.
WallTime wallClock() {
  return std::chrono::floor<WallTime::duration>(std::chrono::system_clock::now());
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
      list_({services.files, services.watching.work, services.scheduler, services.random,
             services.watching.bookmarks, services.watching.events, services.watching.apps,
             localStamp, Log(services.log)},
            joinPath(data, std::string(listName))),
      monitor_({list_, services.watching.events, services.watching.opened, services.watching.apps,
                services.scheduler, filesBelow, wallClock, Log(services.log)},
               optionsOf(services.watching, data)) {
  const auto tell = [&notifications = services.notifications](const LocalNotification& notice) {
    notifications.post(notice, {});
  };
  notices_ = list_.onOwnerNotice(tell);
  monitor_.onOwnerNotice = tell;
  monitor_.onTrigger = [opened = std::move(opened)](const WatchHit& hit) {
    opened(triggerFor(*hit.target), hit.target->id);
  };
}

void Watching::stop() {
  monitor_.stop();
  look();
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

std::vector<WatchedItem> watchedOnDisk(const Services& services, const std::string& data) {
  const auto bytes = services.files.read(joinPath(data, std::string(listName)));
  const auto saved = bytes ? readWatchList(textOf(*bytes)) : std::nullopt;
  std::vector<WatchedItem> items;
  if (!saved) return items;
  for (const WatchTarget& target : saved->readable()) {
    const bool app = target.kind == WatchTarget::Kind::app;
    const bool found = app || services.watching.bookmarks.resolve(target.bookmark).has_value();
    items.push_back({target, {.missing = !found, .unwatchable = {}}, {}});
  }
  return items;
}

}  // namespace brindle
