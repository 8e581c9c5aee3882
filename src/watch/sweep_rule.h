#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "base/times.h"

namespace brindle {

/// Tells single openings in one watched folder from a sweep: many of its files within a second, as
/// a copy of the folder makes them. A sweep is one opening of the folder; its first files, which
/// nobody can know to be a sweep, are reported as they come, so it is never none.
class SweepRule {
 public:
  static constexpr std::size_t many = 20;  ///< distinct files
  static constexpr std::chrono::seconds span{1};
  /// What goes on for longer is told again, so that nobody hides behind a sweep without end.
  static constexpr std::chrono::seconds longest{30};

  /// True when the opening belongs to a sweep of which one was already let through.
  bool folds(std::string_view path, WallTime at);

 private:
  struct Opening {
    std::size_t path = 0;
    WallTime at{};
  };
  bool isMany(std::size_t path, WallTime at);

  std::array<Opening, many> last_{};  ///< of distinct files, a ring
  std::size_t next_ = 0;
  bool sweeping_ = false;
  WallTime began_{}, latest_{};
};

}  // namespace brindle
