// How the monitor finds what is to be observed, and what it does about what is not.

#include <algorithm>
#include <utility>

#include "watch/watch_monitor.h"
#include "watch/watched_paths.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

/// A saved file is away for a moment; a limit or a volume for longer. Doubles up to five minutes.
Duration retryAfter(bool onlyMissing, int attempt) {
  const Duration first = onlyMissing ? Duration(250ms) : Duration(8s);
  return std::min<Duration>(5min, first * (1 << std::min(attempt, 12)));
}

OpenDetector::Mode modeOf(WatchTarget::Kind kind) {
  if (kind == WatchTarget::Kind::folder) return OpenDetector::Mode::folder;
  return kind == WatchTarget::Kind::tripwire ? OpenDetector::Mode::decoy : OpenDetector::Mode::file;
}

bool concerns(const UnobservedPath& unobserved, const OpenDetector::Watched& item) {
  if (item.mode == OpenDetector::Mode::folder) return isInside(unobserved.path, item.path);
  return unobserved.path == item.path;
}

/// Of a path inside the folder what comes after it.
std::string below(const std::string& path, const std::string& folder) {
  if (path == folder) return {};
  return path.substr(folder.size() + (folder.ends_with('/') ? 0 : 1));
}

}  // namespace

WatchMonitor::Watched WatchMonitor::resolveTargets() {
  Watched watched;
  std::map<std::string, Target> apps;
  missing_.clear();
  std::vector<Target> targets;
  for (const WatchTarget& each : list_.targets()) {
    targets.push_back(std::make_shared<const WatchTarget>(each));
  }
  std::erase_if(decoys_, [this](const auto& each) { return !list_.find(each.first); });
  for (const Target& target : targets) {
    if (target->kind == WatchTarget::Kind::app) {
      apps.emplace(target->bundleID, target);
      continue;
    }
    auto place = list_.resolve(target->id);
    lookAtDecoy(*target, place ? place->path : std::string());
    if (!place) {
      missing_.insert(target->id);
      continue;
    }
    accessing_.push_back(std::move(place->access));
    watched.push_back({target, std::move(place->path), modeOf(target->kind)});
  }
  apps_.watch(std::move(apps));
  return watched;
}

/// A decoy that is not where it was at the last look went without an event of its own: with its
/// folder, or among events that were lost. `path` is empty when it is nowhere.
void WatchMonitor::lookAtDecoy(const WatchTarget& target, const std::string& path) {
  if (target.kind != WatchTarget::Kind::tripwire) return;
  const std::string before = std::exchange(decoys_[target.id], path);
  if (before.empty() || before == path) return;
  const auto slash = before.rfind('/');
  list_.decoyGone(target.id, before.substr(0, std::max<std::size_t>(slash, 1)),
                  before.substr(slash + 1));
}

/// Events were lost, a removal perhaps among them.
void WatchMonitor::lookAtDecoys() {
  log_.notice("watch: events were lost, everything was looked at");
  const Watched watched = watched_;
  for (const auto& each : watched) {
    if (each.mode != OpenDetector::Mode::decoy) continue;
    const auto place = list_.resolve(each.target->id);
    lookAtDecoy(*each.target, place ? place->path : std::string());
  }
}

void WatchMonitor::lookAtUnobserved() {
  Reasons reasons;
  limited_ = false;
  for (const UnobservedPath& unobserved : source_->unobserved()) {
    limited_ = limited_ || unobserved.limit;
    for (const auto& item : watched_) {
      if (!concerns(unobserved, item)) continue;
      Reason reason{unobserved.why, below(unobserved.path, item.path), unobserved.partly};
      reason.partly = reason.partly || !reason.part.empty();
      const auto [known, isNew] = reasons.try_emplace(item.target->id, reason);
      if (!isNew && !reason.partly) known->second = reason;
    }
  }
  noteUnobserved(reasons);
}

void WatchMonitor::noteUnopened(const std::string& why) {
  Reasons reasons;
  for (const auto& each : watched_) reasons.emplace(each.target->id, Reason{why, {}});
  limited_ = true;
  noteUnobserved(reasons);
}

void WatchMonitor::noteUnobserved(const Reasons& reasons) {
  for (const Uuid& id : std::exchange(unobserved_, {})) {
    if (!reasons.contains(id)) list_.noteUnwatchable(id, "");
  }
  for (const auto& [id, reason] : reasons) {
    unobserved_.insert(id);
    list_.noteUnwatchable(id, reason.text());
  }
  limited_ = limited_ && !reasons.empty();
  tellOwner(reasons);
}

std::string WatchMonitor::Reason::text() const {
  return part.empty() ? why : "a part of it, '" + part + "': " + why;
}

/// Once, until it is something else that cannot be seen.
void WatchMonitor::tellOwner(const Reasons& reasons) {
  std::string body;
  if (!reasons.empty()) {
    const auto& [id, reason] = *reasons.begin();
    const WatchTarget* target = list_.find(id);
    body = std::string("Brindle can't see ") + (reason.partly ? "all " : "") + "openings of '" +
           (target ? target->displayName : "") + "'";
    if (reasons.size() > 1) body += " and " + std::to_string(reasons.size() - 1) + " more";
    body += ": " + reason.text() + ".";
    if (limited_) body += " It tries again by itself.";
  }
  if (std::exchange(told_, body) == body || body.empty()) return;
  log_.notice("watch: %{public}ld items not observed: %{public}s", reasons.size(),
              reasons.begin()->second.why);
  if (onOwnerNotice) onOwnerNotice({"watch-unobserved", "Some items aren't watched", body});
}

/// What may not be read is left alone: it would be so again.
void WatchMonitor::retryLater() {
  if (!isRunning_) return;
  if (missing_.empty() && !limited_) {
    attempt_ = 0;
  } else if (!retry_.armed()) {
    retry_ = scheduler_.after(retryAfter(!limited_, attempt_++), [this] { retry(); });
  }
}

/// What is only missing is looked for without disturbing the stream.
void WatchMonitor::retry() {
  const auto isThere = [this](const Uuid& id) { return list_.resolve(id).has_value(); };
  const auto missing = missing_;
  if (limited_ || std::ranges::any_of(missing, isThere)) return rebuild();
  retryLater();
}

}  // namespace brindle
