#include "triggers/alarm_volume.h"

#include <algorithm>
#include <utility>

#include "triggers/saved_volumes.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

constexpr double fullLevel = 1.0;
constexpr Duration firstRetry = 1s, longestRetry = 64s;

SavedVolume loudest(SavedVolume volume) {
  for (auto& [channel, level] : volume.levels) level = fullLevel;
  if (volume.muted) volume.muted = false;
  return volume;
}

/// The channels that `saved` names are loud in `now`, as far as it has them.
bool isLoud(const SavedVolume& saved, const SavedVolume& now) {
  if (saved.muted && now.muted == true) return false;
  return std::ranges::all_of(now.levels, [&saved](const auto& each) {
    return !saved.levels.contains(each.first) || each.second == fullLevel;
  });
}

}  // namespace

AlarmVolume::AlarmVolume(Parts parts) : parts_(parts) {
  const auto text = parts_.defaults.text(savedKey);
  if (!text) return;
  const auto left = readSavedVolumes(*text);
  if (!left) parts_.log.notice("alarm: the saved volume couldn't be read");
  for (const SavedVolume& volume : left.value_or(std::vector<SavedVolume>())) {
    saved_.push_back({volume});
  }
}

void AlarmVolume::makeLoud() {
  loud_ = true;
  retry_.cancel();
  follow();
  keepLoud();
}

void AlarmVolume::keepLoud() {
  settleAll();
  look();
}

void AlarmVolume::giveBack() {
  loud_ = false;
  readings_.renew();
  reading_ = readAgain_ = false;
  pause_ = firstRetry;
  if (saved_.empty()) return endOnceAllIsBack();
  follow();
  for (Output& output : saved_) output.vanished = false;
  settleAll();
}

void AlarmVolume::follow() {
  if (!cancellables_.empty()) return;
  cancellables_.push_back(parts_.outputs.onChange([this] { changed(); }));
}

void AlarmVolume::changed() {
  if (soon_.armed()) return;
  const Duration since = parts_.scheduler.awakeTime() - looked_;
  soon_ = parts_.scheduler.after(shortestPause - since, [this] {
    looked_ = parts_.scheduler.awakeTime();
    if (loud_) {
      look();
    } else {
      settleAll();
    }
  });
}

void AlarmVolume::look() {
  if (std::exchange(reading_, true)) {
    readAgain_ = true;  // what changed now may be too late for that answer
    return;
  }
  parts_.outputs.readDefault(readings_.guard([this](const std::optional<AudioOutputs::State>& now) {
    reading_ = false;
    if (now) isDefault(*now);
    if (std::exchange(readAgain_, false)) look();
  }));
}

void AlarmVolume::isDefault(const AudioOutputs::State& now) {
  const SavedVolume& volume = now.volume;
  if (Output* known = find(volume.device)) {
    // Only if it is needed: writing may be a change that is told, and so on for ever.
    if (!isLoud(known->saved, volume)) settle(*known);
    return;
  }
  if (volume.levels.empty() && !volume.muted) return;
  saved_.push_back({volume});
  if (store()) return settle(saved_.back());
  saved_.pop_back();
}

void AlarmVolume::settleAll() {
  for (Output& output : saved_) settle(output);
}

void AlarmVolume::settle(Output& output) {
  if (std::exchange(output.writing, true)) {
    output.again = true;
    return;
  }
  const bool loud = loud_;
  parts_.outputs.write(
      loud ? loudest(output.saved) : output.saved,
      lifetime_.guard([this, device = output.saved.device, loud](AudioOutputs::Written how) {
        written(device, loud, how);
      }));
}

void AlarmVolume::written(const std::string& device, bool loud, AudioOutputs::Written how) {
  Output* output = find(device);
  if (!output) return;
  output->writing = false;
  const bool again = std::exchange(output->again, false);
  if (loud != loud_ || (again && loud_)) return settle(*output);
  switch (how) {
    case AudioOutputs::Written::done:
      output->vanished = false;
      if (!loud_) givenBack(device);
      return;
    case AudioOutputs::Written::gone:
      if (!std::exchange(output->vanished, true)) {
        parts_.log.notice("alarm: an output is gone, its volume is kept: %{private}s", device);
      }
      return;
    case AudioOutputs::Written::refused:
      if (!loud_) retryLater();
      return;
  }
}

void AlarmVolume::givenBack(const std::string& device) {
  std::erase_if(saved_, [&device](const Output& each) { return each.saved.device == device; });
  stale_ = !store();
  endOnceAllIsBack();
}

void AlarmVolume::retryLater() {
  if (retry_.armed()) return;
  retry_ = parts_.scheduler.after(pause_, [this] {
    if (stale_) stale_ = !store();
    settleAll();
    endOnceAllIsBack();
  });
  pause_ = std::min(pause_ * 2, longestRetry);
}

bool AlarmVolume::store() {
  std::vector<SavedVolume> volumes;
  for (const Output& output : saved_) volumes.push_back(output.saved);
  std::optional<PreferenceValue> value;
  if (!volumes.empty()) value = writeSavedVolumes(volumes);
  const bool stored = parts_.defaults.change({{std::string(savedKey), std::move(value)}});
  if (!stored && !storeFailed_) parts_.log.notice("alarm: the owner's volume couldn't be recorded");
  storeFailed_ = !stored;
  return stored;
}

void AlarmVolume::endOnceAllIsBack() {
  if (stale_) return retryLater();
  if (loud_ || !saved_.empty()) return;
  cancellables_.clear();
  soon_.cancel();
  retry_.cancel();
}

AlarmVolume::Output* AlarmVolume::find(const std::string& device) {
  const auto found = std::ranges::find(
      saved_, device, [](const Output& each) -> const auto& { return each.saved.device; });
  return found == saved_.end() ? nullptr : &*found;
}

}  // namespace brindle
