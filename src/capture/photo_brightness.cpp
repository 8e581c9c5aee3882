#include "capture/photo_brightness.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace brindle {
namespace {

constexpr double flashBelow = 0.3;
constexpr double usableFrom = 0.12;

}  // namespace

bool callsForFlash(const CapturedPhoto& shot) {
  return shot.brightness && *shot.brightness < flashBelow;
}

bool isUsable(const CapturedPhoto& shot) {
  return !shot.brightness || *shot.brightness >= usableFrom;
}

std::span<const CapturedPhoto> ShotList::fromMark() const {
  return std::span(shots).subspan(std::min(flashMark.value_or(0), shots.size()));
}

std::size_t ShotList::usable() const {
  return static_cast<std::size_t>(std::ranges::count_if(fromMark(), isUsable));
}

std::vector<CapturedPhoto> ShotList::chosen(std::size_t wanted) && {
  if (flashMark && usable() > 0) {
    shots.erase(shots.begin(), shots.begin() + static_cast<std::ptrdiff_t>(*flashMark));
  }
  std::vector<CapturedPhoto> best;
  std::vector<CapturedPhoto> others;
  for (CapturedPhoto& shot : shots) (isUsable(shot) ? best : others).push_back(std::move(shot));
  std::ranges::move(others, std::back_inserter(best));
  if (best.size() > wanted) best.resize(wanted);
  return best;
}

}  // namespace brindle
