#include "watch/sweep_rule.h"

#include <algorithm>
#include <chrono>
#include <functional>

namespace brindle {
namespace {

/// The clock may be set back, and a batch is in no order.
bool near(WallTime a, WallTime b, Duration limit) { return std::chrono::abs(a - b) <= limit; }

}  // namespace

bool SweepRule::folds(std::string_view path, WallTime at) {
  const bool goesOn = sweeping_ && near(at, latest_, span) && near(at, began_, longest);
  const bool isSweep = isMany(std::hash<std::string_view>{}(path), at);
  latest_ = at;
  if (goesOn) return true;
  sweeping_ = isSweep;
  began_ = at;
  return false;
}

bool SweepRule::isMany(std::size_t path, WallTime at) {
  const auto known = std::ranges::find(last_, path, &Opening::path);
  if (known != last_.end()) {
    known->at = at;
  } else {
    last_[next_] = {path, at};
    next_ = (next_ + 1) % many;
  }
  return std::ranges::all_of(last_, [at](const Opening& each) { return near(each.at, at, span); });
}

}  // namespace brindle
