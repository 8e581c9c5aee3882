#include "watch/watched_apps.h"

#include <algorithm>
#include <utility>

namespace brindle {

WatchedApps::WatchedApps(RunningApps& workspace, std::vector<std::string> own, Opened opened)
    : workspace_(workspace), own_(std::move(own)), opened_(std::move(opened)) {}

void WatchedApps::watch(std::map<std::string, Target> apps) {
  apps_ = std::move(apps);
  if (apps_.empty()) return announcements_.end();
  if (announcements_) return;
  begin(workspace_.frontmost());
  announcements_ = workspace_.observe(
      [this](const std::string& id, RunningApps::What what) { happened(id, what); });
}

void WatchedApps::begin(const std::optional<std::string>& frontmost) {
  frontApp_ = frontmost.value_or("");
  lastOtherApp_ = isOwn(frontApp_) ? "" : frontApp_;
}

void WatchedApps::happened(const std::string& id, RunningApps::What what) {
  const bool opened = what == RunningApps::What::launched || comesToFront(id);
  if (!opened || isOwn(id)) return;
  const auto found = apps_.find(id);
  if (found == apps_.end()) return;
  const Target target = found->second;  // the report may change the list
  opened_(target);
}

/// False when it was in front before, or only a window of ours stood before it.
bool WatchedApps::comesToFront(const std::string& id) {
  const std::string before = std::exchange(frontApp_, id);
  if (isOwn(id)) return false;
  const bool wasLast = std::exchange(lastOtherApp_, id) == id;
  return before != id && !(isOwn(before) && wasLast);
}

bool WatchedApps::isOwn(const std::string& id) const {
  return std::ranges::find(own_, id) != own_.end();
}

}  // namespace brindle
