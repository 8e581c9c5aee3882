#include "service/alert_watch_outbox.h"

#include "service/alert_watch_json.h"
#include "service/session.h"

namespace brindle {
namespace {

constexpr std::string_view key = "watch.outbox";
constexpr std::string_view asideKey = "watch.outbox-unreadable";

}  // namespace

AlertWatchOutbox::AlertWatchOutbox(Preferences& preferences, Scheduler& scheduler,
                                   AlertWatchBodies& bodies, Log log)
    : preferences_(preferences), scheduler_(scheduler), bodies_(bodies), log_(log) {
  load();
}

void AlertWatchOutbox::load() {
  const auto stored = preferences_.text(key);
  if (!stored) return;
  auto read = readOps(*stored);
  for (AlertWatchOp& op : read.list) {
    if (byId_.contains(op.id)) continue;
    ops_.push_back({std::move(op), {}, 0, {}, {}, false, false});
    byId_[ops_.back().op.id] = std::prev(ops_.end());
  }
  if (read.skipped == 0) return;
  // Kept as it was found; the next save would write over it.
  mark(asideKey, *stored);
  log_.notice("outbox: %{public}ld operations could not be read, kept aside", read.skipped);
}

AlertWatchOutbox::Entry* AlertWatchOutbox::find(const Uuid& id) {
  const auto found = byId_.find(id);
  return found == byId_.end() ? nullptr : &*found->second;
}

AlertWatchOutbox::Entry& AlertWatchOutbox::append(AlertWatchOp op) {
  ops_.push_back({std::move(op), {}, 0, {}, scheduler_.awakeTime(), false, false});
  byId_[ops_.back().op.id] = std::prev(ops_.end());
  dirty_ = true;
  return ops_.back();
}

void AlertWatchOutbox::changed(Entry& entry) {
  entry.text.clear();
  dirty_ = true;
}

void AlertWatchOutbox::remove(const Uuid& id) {
  const auto found = byId_.find(id);
  if (found == byId_.end()) return;
  if (!found->second->op.file.empty()) unneeded_.push_back(found->second->op.file);
  ops_.erase(found->second);
  byId_.erase(found);
  dirty_ = true;
}

std::vector<Uuid> AlertWatchOutbox::removeAllOf(std::string_view account) {
  std::vector<Uuid> its;
  for (const Entry& each : ops_) {
    if (sameAddress(each.op.account, account)) its.push_back(each.op.id);
  }
  for (const Uuid& id : its) remove(id);
  saveSoon();
  return its;
}

void AlertWatchOutbox::mark(std::string_view name, std::optional<PreferenceValue> newValue) {
  marks_[std::string(name)] = std::move(newValue);
  dirty_ = true;
}

std::optional<PreferenceValue> AlertWatchOutbox::value(std::string_view name) const {
  const auto waiting = marks_.find(name);
  return waiting != marks_.end() ? waiting->second : preferences_.get(name);
}

bool AlertWatchOutbox::flag(std::string_view name, bool whenAbsent) const {
  const auto found = value(name);
  const bool* set = found ? std::get_if<bool>(&*found) : nullptr;
  return set ? *set : whenAbsent;
}

std::optional<std::int64_t> AlertWatchOutbox::number(std::string_view name) const {
  const auto found = value(name);
  const auto* whole = found ? std::get_if<std::int64_t>(&*found) : nullptr;
  return whole ? std::optional(*whole) : std::nullopt;
}

std::optional<std::string> AlertWatchOutbox::text(std::string_view name) const {
  const auto found = value(name);
  const auto* words = found ? std::get_if<std::string>(&*found) : nullptr;
  return words ? std::optional(*words) : std::nullopt;
}

/// Only what changed is made anew: a thousand operations must not make the next one late.
std::string AlertWatchOutbox::whole() {
  std::string all = R"({"ops":[)";
  bool first = true;
  for (Entry& each : ops_) {
    if (each.text.empty()) each.text = writeOp(each.op);
    if (!std::exchange(first, false)) all += ',';
    all += each.text;
  }
  return all += "]}";
}

bool AlertWatchOutbox::save() {
  if (!dirty_) return true;
  std::vector<std::pair<std::string, std::optional<PreferenceValue>>> changes(marks_.begin(),
                                                                              marks_.end());
  changes.emplace_back(key, std::nullopt);
  if (!ops_.empty()) changes.back().second = whole();
  if (!preferences_.change(changes)) {
    if (!std::exchange(failing_, true)) {
      log_.notice("outbox: not stored, %{public}ld queued", ops_.size());
    }
    retry_ = scheduler_.after(retryPause, [this] { save(); });
    return false;
  }
  dirty_ = failing_ = false;
  retry_.cancel();
  marks_.clear();
  for (const std::string& file : std::exchange(unneeded_, {})) bodies_.remove(file);
  return true;
}

void AlertWatchOutbox::saveSoon() {
  if (!dirty_ || std::exchange(saveComes_, true)) return;
  scheduler_.post(lifetime_.guard([this] {
    saveComes_ = false;
    save();
  }));
}

}  // namespace brindle
