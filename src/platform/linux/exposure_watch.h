#pragma once

#include <algorithm>
#include <array>

namespace brindle {

/// Tells from the brightness of frame after frame whether a camera still looks for its exposure.
/// V4L2 has no control that says so.
class ExposureWatch {
 public:
  /// `mean` from 0.0 to 1.0.
  void frame(double mean) {
    last_[frames_ % last_.size()] = mean;
    ++frames_;
  }
  bool adjusting() const {
    if (frames_ < last_.size()) return true;
    const auto [low, high] = std::ranges::minmax(last_);
    // Many cameras give black frames before the first real one; steady black is not an exposure.
    return high < blackBelow || high - low > steadyWithin;
  }

 private:
  static constexpr double blackBelow = 0.02;
  static constexpr double steadyWithin = 0.02;
  std::array<double, 4> last_{};
  std::size_t frames_ = 0;
};

}  // namespace brindle
