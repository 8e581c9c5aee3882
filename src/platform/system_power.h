#pragma once

#include <cstdint>
#include <functional>
#include <utility>

#include "base/subscription.h"
#include "base/times.h"
#include "platform/service_report.h"

namespace brindle {

/// The right to let the machine go to sleep. It is given back exactly once: by `allow`, or when the
/// object goes. Movable only.
class SleepPermission {
 public:
  SleepPermission() = default;
  SleepPermission(std::int64_t identifier, std::function<void()> allow)
      : identifier_(identifier), allow_(std::move(allow)) {}

  std::int64_t identifier() const { return identifier_; }  ///< of the announcement
  void allow() { allow_.end(); }
  bool held() const { return static_cast<bool>(allow_); }

 private:
  std::int64_t identifier_ = 0;
  Subscription allow_;
};

/// The system's announcements of sleep, and the permission that it waits for. An idle machine that
/// merely asks whether it may sleep is always let. Main thread only.
class SystemPower {
 public:
  struct Listener {
    std::function<void(SleepPermission)> willSleep;  ///< from the main loop
    std::function<void()> woke;                      ///< from the main loop
  };

  virtual ~SystemPower() = default;

  /// One listener at a time. While it listens the system waits for it before each sleep.
  [[nodiscard]] virtual Subscription listen(Listener listener) = 0;
  /// The longest a permission may be kept before the system sleeps anyway, with a margin taken off.
  /// Zero: the system does not wait at all.
  virtual Duration longestHold() const = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
