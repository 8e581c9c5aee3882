#include "triggers/turn_on_schedule.h"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace brindle {
namespace {

/// Exactly what `secondsSince1970` was given, so that no start falls between the two. None for a
/// number that no clock wrote.
std::optional<WallTime> fromSecondsSince1970(double seconds) {
  constexpr double furthest = 1e10;
  if (!(std::abs(seconds) <= furthest)) return std::nullopt;
  return WallTime(std::chrono::microseconds(std::llround(seconds * 1e6)));
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(std::move(line));
  return lines;
}

std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& each : lines) (text += each) += '\n';
  return text;
}

}  // namespace

TurnOnSchedule::TurnOnSchedule(Preferences& defaults, Calendar& calendar, Scheduler& scheduler,
                               Log log)
    : defaults_(defaults), calendar_(calendar), scheduler_(scheduler), log_(log) {}

void TurnOnSchedule::start() {
  load();
  keepUnreadable();
  started_ = true;
  clock_ = calendar_.onChange([this] { check(); });
  check();
}

void TurnOnSchedule::load() {
  loadTimes();
  fired_ = linesOf(defaults_.text(firedKey).value_or(""));
  if (const auto seconds = defaults_.real(lastCheckedKey)) {
    lastChecked_ = fromSecondsSince1970(*seconds);
  }
}

void TurnOnSchedule::loadTimes() {
  auto stored = defaults_.get(timesKey);
  if (!stored) return;
  const auto* text = std::get_if<std::string>(&*stored);
  ReadTimes read = text ? readScheduleTimes(*text) : ReadTimes{{}, false};
  times_ = std::move(read.times);
  if (!read.complete) unreadable_ = std::move(stored);
}

/// Told once: from then on the list is what could be read.
void TurnOnSchedule::keepUnreadable() {
  if (!unreadable_) return;
  const bool kept = defaults_.change({{std::string(unreadableKey), unreadable_},
                                      {std::string(timesKey), writeScheduleTimes(times_)}});
  log_.notice(
      "schedule: not all times could be read: %{public}ld left, kept aside: %{bool,public}d",
      times_.size(), kept);
  if (tellOwner) tellOwner(std::string(someUnreadable));
}

void TurnOnSchedule::check() {
  if (!started_) return;
  const WallTime now = scheduler_.wallTime();
  std::optional<Occurrence> due;
  if (lastChecked_) due = latestDue(std::max(*lastChecked_, now - scheduleCatchUp), now);
  lastChecked_ = now;
  if (due) fire(*due, now);
  if (!defaults_.change(checked())) log_.notice("schedule: the last check could not be stored");
  rearm();
}

/// None for one that fired already: the clock or the zone was set back over it.
std::optional<Occurrence> TurnOnSchedule::startDue(const ScheduleTime& time, WallTime after,
                                                   WallTime now) const {
  const auto start = lastStart(time, calendar_, after, now);
  if (!start) return std::nullopt;
  std::string key = scheduleKey(time, *start);
  if (std::ranges::find(fired_, key) != fired_.end()) return std::nullopt;
  return Occurrence{time.id, start->at, start->at, std::move(key)};
}

std::optional<Occurrence> TurnOnSchedule::latestDue(WallTime after, WallTime now) const {
  std::optional<Occurrence> latest;
  for (const ScheduleTime& each : times_) {
    auto due = startDue(each, after, now);
    if (due && (!latest || due->start > latest->start)) latest = std::move(due);
  }
  return latest;
}

void TurnOnSchedule::fire(const Occurrence& occurrence, WallTime now) {
  const auto ago = std::chrono::floor<std::chrono::seconds>(now - occurrence.start);
  log_.notice("schedule: on for a start %{public}ld s ago", ago.count());
  noteFired(occurrence.key);
  if (arm) arm(occurrence);
}

void TurnOnSchedule::noteFired(const std::string& key) {
  fired_.push_back(key);
  if (fired_.size() > mostFired) fired_.erase(fired_.begin(), fired_.end() - mostFired);
}

TurnOnSchedule::Changes TurnOnSchedule::checked() const {
  Changes changes{{std::string(firedKey), joined(fired_)}};
  if (lastChecked_) changes.emplace_back(lastCheckedKey, secondsSince1970(*lastChecked_));
  return changes;
}

/// Without a check nothing may be taken from the old times, so what is new counts as fired up to
/// now.
void TurnOnSchedule::passOver(const std::vector<ScheduleTime>& times) {
  const WallTime now = scheduler_.wallTime();
  for (const ScheduleTime& each : times) {
    if (std::ranges::find(times_, each) != times_.end()) continue;
    if (const auto passed = startDue(each, now - scheduleCatchUp, now)) noteFired(passed->key);
  }
}

bool TurnOnSchedule::setTimes(std::vector<ScheduleTime> times) {
  check();
  if (!started_) passOver(times);
  // With the last check, which may not have been stored when it was made.
  Changes changes = checked();
  changes.emplace_back(timesKey, writeScheduleTimes(times));
  if (unreadable_) changes.emplace_back(unreadableKey, unreadable_);
  if (!defaults_.change(changes)) return false;
  times_ = std::move(times);
  if (started_) rearm();
  return true;
}

std::optional<WallTime> TurnOnSchedule::next() const {
  const WallTime now = scheduler_.wallTime();
  std::optional<WallTime> earliest;
  for (const ScheduleTime& each : times_) {
    const auto start = nextStart(each, calendar_, now);
    if (start && (!earliest || *start < *earliest)) earliest = start;
  }
  return earliest;
}

void TurnOnSchedule::rearm() {
  timer_.cancel();
  if (const auto start = next()) timer_ = scheduler_.atWallTime(*start, [this] { check(); });
}

}  // namespace brindle
