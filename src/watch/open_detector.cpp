#include "watch/open_detector.h"

#include <utility>

namespace brindle {
namespace {

/// Flags that an opening may come with.
constexpr std::uint32_t examined = file_event::itemCreated | file_event::itemInodeMetaMod |
                                   file_event::itemModified | file_event::itemXattrMod;
static_assert(examined == 0x9500);

DecoyGone goneFrom(const OpenDetector::Watched& decoy) {
  const auto slash = decoy.path.rfind('/');
  return {decoy.target, decoy.path.substr(0, slash == 0 ? 1 : slash), decoy.path.substr(slash + 1)};
}

}  // namespace

OpenDetector::Dates OpenDetector::datesNow(std::span<const Watched> watched) const {
  Dates dates;
  for (const Watched& each : watched) {
    if (each.mode == Mode::folder) continue;
    if (const auto date = at_.lastUsedDate(each.path)) dates.emplace(each.path, *date);
  }
  return dates;
}

void OpenDetector::watch(std::vector<Watched> watched, std::vector<std::string> exclusions,
                         Dates before) {
  exact_.clear();
  folders_.clear();
  watched_ = std::move(watched);
  exclusions_ = std::move(exclusions);
  // What was remembered of an item says more: it was reported.
  for (auto& [path, date] : lastUsed_) before.insert_or_assign(path, date);
  lastUsed_.clear();
  for (const Watched& each : watched_) {
    if (each.mode == Mode::folder) {
      folders_.emplace(each.path, &each);
      continue;
    }
    if (!exact_.emplace(each.path, &each).second) continue;
    if (const auto known = before.find(each.path); known != before.end()) lastUsed_.insert(*known);
  }
  for (const std::string& left : exclusions_) folders_.emplace(left, nullptr);
}

OpenDetector::Found OpenDetector::process(std::span<const FileEvent> batch) {
  Found found;
  now_ = at_.now();
  forgetOld();
  for (const FileEvent& event : batch) {
    const auto is = [&event](std::uint32_t flags) { return (event.flags & flags) != 0; };
    if (is(file_event::itemRemoved | file_event::itemRenamed)) {
      const auto item = exact_.find(event.path);
      const bool decoy = item != exact_.end() && item->second->mode == Mode::decoy;
      if (decoy) found.gone.push_back(goneFrom(*item->second));
    }
    if (is(file_event::rootChanged)) {
      found.rootsChanged = true;
    } else if (is(file_event::mustScanSubDirs)) {
      found.scanned = true;
    } else if (is(examined)) {
      examine(event.path, found);
    }
  }
  if (found.scanned) scan(found);
  return found;
}

void OpenDetector::scan(Found& found) {
  for (const Watched& each : watched_) {
    if (each.mode != Mode::folder) {
      examine(each.path, found);
    } else if (at_.filesBelow) {
      at_.filesBelow(each.path, exclusions_,
                     [this, &found](const std::string& path) { examine(path, found); });
    }
  }
}

void OpenDetector::examine(const std::string& path, Found& found) {
  const auto single = exact_.find(path);
  const Watched* item = single != exact_.end() ? single->second : folderOf(path);
  if (!item) return;
  const auto date = at_.lastUsedDate(path);
  if (!date || !isLater(*date, remembered(*item, path))) return;
  remember(*item, path, *date);
  if (!isRecent(*date)) return;
  // Of a file in a folder the remembered date itself says that its opening was reported.
  if (item->mode == Mode::folder || isNew(path, *date))
    found.hits.push_back({item->target, *date, path});
}

/// The innermost one counts; null when there is none.
const OpenDetector::Watched* OpenDetector::folderOf(std::string_view path) const {
  if (folders_.empty()) return nullptr;
  for (auto slash = path.rfind('/'); slash != std::string_view::npos; slash = path.rfind('/')) {
    path = path.substr(0, slash);
    const auto found = folders_.find(path.empty() ? "/" : path);
    if (found != folders_.end()) return found->second;
  }
  return nullptr;
}

std::optional<WallTime> OpenDetector::remembered(const Watched& item,
                                                 const std::string& path) const {
  if (item.mode == Mode::folder) {
    const auto known = lastUsedBelow_.find(keyOf(path));
    return known == lastUsedBelow_.end() ? std::nullopt : std::optional(known->second);
  }
  const auto known = lastUsed_.find(path);
  return known == lastUsed_.end() ? std::nullopt : std::optional(known->second);
}

void OpenDetector::remember(const Watched& item, const std::string& path, WallTime date) {
  // Nobody has opened it then. What was remembered before still says what was reported.
  if (date > now_ + window) return;
  if (item.mode != Mode::folder) {
    lastUsed_[path] = date;
  } else if (date >= now_ - window) {
    lastUsedBelow_[keyOf(path)] = date;
  }
}

bool OpenDetector::isLater(WallTime date, std::optional<WallTime> before) const {
  // A date beyond the window was written while the clock was ahead. Held on to, it would hide every
  // opening until that time comes.
  if (!before || *before > now_ + window) return true;
  return date > *before + sameDate;  // a difference from a date long ago has no room
}

bool OpenDetector::isRecent(WallTime date) const {
  return date >= now_ - window && date <= now_ + window;
}

bool OpenDetector::isNew(const std::string& path, WallTime date) {
  const auto ticks = static_cast<std::size_t>(date.time_since_epoch().count());
  const Key opening = keyOf(path) ^ (ticks * 0x9E3779B97F4A7C15U);
  return !seenBefore_.contains(opening) && seen_.insert(opening).second;
}

/// Once in two windows, so that it costs an event next to nothing.
void OpenDetector::forgetOld() {
  if (now_ >= forgot_ && now_ - forgot_ <= 2 * window) return;
  forgot_ = now_;
  std::erase_if(lastUsedBelow_, [this](const auto& each) { return each.second < now_ - window; });
  // With its buckets, which assigning `{}` would keep.
  if (lastUsedBelow_.empty()) lastUsedBelow_ = std::unordered_map<Key, WallTime>();
  seenBefore_ = std::exchange(seen_, {});
}

}  // namespace brindle
