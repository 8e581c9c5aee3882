#pragma once

#include <algorithm>
#include <chrono>
#include <vector>

#include "base/log.h"

namespace brindle {

/// Milliseconds that a task takes.
template <class F>
double milliseconds(F task) {
  const auto begin = std::chrono::steady_clock::now();
  task();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin)
      .count();
}

/// Not empty.
inline double median(std::vector<double> all) {
  std::ranges::sort(all);
  return all[all.size() / 2];
}

struct Silence final : LogSink {
  void write(std::string_view, std::span<const LogArg>) override {}
};

}  // namespace brindle
