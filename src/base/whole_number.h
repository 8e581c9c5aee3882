#pragma once

#include <cmath>
#include <type_traits>

namespace brindle {

/// The integer a number stands for, if it is one and fits. 2^63 and 2^64 are exact in a double
/// while the largest integers are not, so the limits are compared with "less than".
template <class I>
bool wholeNumber(double value, I& out) {
  const double limit = std::is_signed_v<I> ? 0x1.0p63 : 0x1.0p64;
  const double lowest = std::is_signed_v<I> ? -0x1.0p63 : 0.0;
  if (!(value >= lowest && value < limit) || std::trunc(value) != value) return false;
  out = static_cast<I>(value);
  return true;
}

}  // namespace brindle
