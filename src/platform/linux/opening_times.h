#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "base/times.h"

namespace brindle {

/// When files were last seen being opened, for a minute or so: older openings are of no use to
/// anybody. Shared by the streams that see them and by who asks. Any thread.
class OpeningTimes {
 public:
  /// Two generations of this many are kept, and of this age.
  static constexpr std::size_t most = 1 << 17;
  static constexpr std::chrono::minutes kept{1};
  struct Span {
    WallTime from, to;
  };

  void record(std::string_view path, WallTime when) {
    const std::lock_guard lock(mutex_);
    if (recent_.size() >= most || when < begun_ || when - begun_ > kept) {
      older_ = std::exchange(recent_, {});
      begun_ = when;
    }
    recent_[std::hash<std::string_view>{}(path)] = when;
  }
  std::optional<WallTime> lastUsed(std::string_view path) const {
    const std::lock_guard lock(mutex_);
    const auto hash = std::hash<std::string_view>{}(path);
    for (const Generation* each : {&recent_, &older_}) {
      if (const auto found = each->find(hash); found != each->end()) return found->second;
    }
    return std::nullopt;
  }
  /// Openings between these times may have gone unseen. Another observation may just have said so
  /// of a longer time, and nobody have looked yet.
  void lost(Span span) {
    const std::lock_guard lock(mutex_);
    if (lost_ && lost_->to >= span.from && span.to - lost_->from <= kept)
      span.from = std::min(span.from, lost_->from);
    lost_ = span;
  }
  std::optional<Span> lost() const {
    const std::lock_guard lock(mutex_);
    return lost_;
  }

 private:
  /// By the path's hash alone: paths would take ten times as much.
  using Generation = std::unordered_map<std::size_t, WallTime>;

  mutable std::mutex mutex_;
  Generation recent_, older_;
  WallTime begun_{};
  std::optional<Span> lost_;
};

}  // namespace brindle
