#pragma once

#include <map>

#include "base/times.h"
#include "base/uuid.h"

namespace brindle {

/// Lets one hit on an item through and drops those that follow within the quiet time.
class QuietTime {
 public:
  explicit QuietTime(Duration length) : length_(length) {}

  bool passes(const Uuid& item, WallTime now) {
    const auto [last, first] = last_.try_emplace(item, now);
    // A last hit in the future: the clock was set back.
    if (!first && last->second <= now && now - last->second < length_) return false;
    last->second = now;
    return true;
  }
  void forget() { last_.clear(); }

 private:
  Duration length_;
  std::map<Uuid, WallTime> last_;
};

}  // namespace brindle
