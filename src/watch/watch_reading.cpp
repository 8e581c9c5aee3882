#include "watch/watch_reading.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace brindle {

bool WatchReading::read(std::span<const FileEvent> batch) {
  OpenDetector::Found found = detector_.process(batch);
  judge_.judge(found.hits);
  const bool nothing = found.nothing();
  const std::lock_guard lock(mutex_);
  keep(std::move(found));
  const bool first = !std::exchange(awake_, true);
  return (!nothing && !std::exchange(told_, true)) || first;
}

/// Of several hits on one item the first: they are all as old once they are taken, and the item is
/// quiet after that one.
void WatchReading::keep(OpenDetector::Found found) {
  for (WatchHit& hit : found.hits) {
    const auto same = [&hit](const WatchHit& kept) { return kept.target->id == hit.target->id; };
    if (std::ranges::none_of(found_.hits, same)) found_.hits.push_back(std::move(hit));
  }
  std::ranges::move(found.gone, std::back_inserter(found_.gone));
  found_.rootsChanged |= found.rootsChanged;
  found_.scanned |= found.scanned;
}

OpenDetector::Found WatchReading::take() {
  const std::lock_guard lock(mutex_);
  told_ = false;
  return std::exchange(found_, {});
}

void WatchReading::wakeAtNextBatch() {
  const std::lock_guard lock(mutex_);
  awake_ = false;
}

}  // namespace brindle
