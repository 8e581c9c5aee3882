#pragma once

#include <compare>
#include <cstdint>

#include "base/uuid.h"

namespace brindle {

/// One item of an event: its place in the event's append-only `vaultPhotos`, 0 for the first.
struct PhotoKey {
  Uuid event;
  std::int64_t index = 0;
  auto operator<=>(const PhotoKey&) const = default;
};

}  // namespace brindle
