#pragma once

#include <chrono>
#include <functional>
#include <optional>

#include "base/subscription.h"
#include "base/times.h"
#include "platform/service_report.h"

namespace brindle {

/// A moment as the clock on the wall shows it.
struct LocalTime {
  std::chrono::year_month_day day;  ///< Gregorian
  int weekday = 1;                  ///< 1 is Sunday, 7 is Saturday
  int hour = 0;
  int minute = 0;
  int second = 0;
  bool operator==(const LocalTime&) const = default;
};

/// The time zone of this person's session, as it is now. Main thread only.
class Calendar {
 public:
  virtual ~Calendar() = default;
  virtual LocalTime local(WallTime at) const = 0;
  /// When the clock shows this time on that day. A time that is skipped gives the next one that
  /// exists, even if that is on the next day; a time that comes twice gives the first of both.
  /// None: there is no such day or time, or this zone skipped the whole day.
  virtual std::optional<WallTime> at(std::chrono::year_month_day day, int hour,
                                     int minute) const = 0;
  /// The same time of day so many days later (or earlier), by the same rules.
  virtual std::optional<WallTime> addingDays(WallTime to, int days) const = 0;
  /// Told from the main loop when the clock was set or the time zone changed.
  [[nodiscard]] virtual Subscription onChange(std::function<void()> changed) = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
