#include "core/unlock_log.h"

#include <algorithm>
#include <utility>

namespace brindle {
namespace {

constexpr int daysKept = 30;
/// Where the calendar has no such day.
constexpr std::chrono::seconds timeKept{2'592'000};

}  // namespace

UnlockLog::UnlockLog(Parts parts, std::string file)
    : parts_(std::move(parts)),
      file_(std::make_shared<UnlockLogFile>(parts_.files, std::move(file), parts_.stamp,
                                            parts_.log)) {}

void UnlockLog::load() {
  entries_ = file_->load();
  prune();
}

bool UnlockLog::includeOwn() const {
  return parts_.defaults.boolean(includeOwnKey).value_or(false);
}

bool UnlockLog::setIncludeOwn(bool include) {
  if (!parts_.defaults.set(includeOwnKey, include)) return false;
  changes_.tell();
  return true;
}

void UnlockLog::record(const Uuid& event, WallTime at, Outcome outcome, std::int64_t wrongTries) {
  std::erase_if(entries_, [&event](const UnlockLogEntry& each) { return each.id == event; });
  entries_.push_back({event, at, outcome, wrongTries});
  prune();
  save();
  changes_.tell();
}

/// An unlock may be recorded late, or after the clock was set, so the order is restored as well.
void UnlockLog::prune() {
  const WallTime now = parts_.scheduler.wallTime();
  const WallTime oldest = parts_.calendar.addingDays(now, -daysKept).value_or(now - timeKept);
  std::erase_if(entries_, [oldest](const UnlockLogEntry& each) { return each.at < oldest; });
  std::ranges::sort(entries_, {},
                    [](const UnlockLogEntry& each) { return std::pair(each.at, each.id); });
}

void UnlockLog::save() {
  parts_.work.run([file = file_, entries = entries_] { file->save(entries); }, {});
}

}  // namespace brindle
