#include "watch/watched_apps.h"

#include <algorithm>
#include <utility>

namespace brindle {

void WatchedApps::begin(const std::optional<std::string>& frontmost) {
  frontApp_ = frontmost.value_or("");
  lastOtherApp_ = isOwn(frontApp_) ? "" : frontApp_;
}

WatchedApps::Target WatchedApps::happened(const std::string& id, RunningApps::What what) {
  const bool opened = what == RunningApps::What::launched || comesToFront(id);
  if (!opened || isOwn(id)) return nullptr;
  const auto target = apps_.find(id);
  return target == apps_.end() ? nullptr : target->second;
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
