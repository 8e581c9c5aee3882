#pragma once

#include <optional>
#include <span>
#include <vector>

#include "core/photo_problem.h"

namespace brindle {

/// Below 0.3 a shot calls for light: it may still count, but the next ones will be better.
bool callsForFlash(const CapturedPhoto& shot);

/// From 0.12 on a shot counts. One that cannot be measured counts too: better a photo that nobody
/// can judge than none.
bool isUsable(const CapturedPhoto& shot);

/// A series so far.
struct ShotList {
  std::vector<CapturedPhoto> shots;      ///< in the order taken
  std::optional<std::size_t> flashMark;  ///< index of the first shot under the flash

  /// Usable shots; once the flash is lit, only those from the mark on.
  std::size_t usable() const;
  /// At most `wanted` of them: usable ones first, each kind in the order taken. Shots from before
  /// the flash are left out when at least one under it is usable.
  std::vector<CapturedPhoto> chosen(std::size_t wanted) &&;

 private:
  std::span<const CapturedPhoto> fromMark() const;
};

}  // namespace brindle
