#pragma once

#include <chrono>
#include <utility>
#include <vector>

#include "platform/calendar.h"
#include "platform/local_clock.h"
#include "platform/scheduler.h"

namespace brindle {

/// A time zone made of its changes of offset: UTC until told otherwise.
class MemoryCalendar final : public Calendar {
 public:
  struct Change {
    WallTime at;                  ///< from then on
    std::chrono::minutes offset;  ///< local time is this far ahead of UTC
  };
  explicit MemoryCalendar(Scheduler& scheduler) : scheduler_(scheduler) {}

  LocalTime local(WallTime at) const override { return local_clock::shownAs(at + offsetAt(at)); }
  std::optional<WallTime> at(std::chrono::year_month_day day, int hour, int minute) const override {
    return local_clock::at(day, hour, minute, [this](WallTime when) { return offsetAt(when); });
  }
  std::optional<WallTime> addingDays(WallTime to, int days) const override {
    return local_clock::whenShownOnItsDay(to + offsetAt(to) + std::chrono::days(days),
                                          [this](WallTime when) { return offsetAt(when); });
  }
  [[nodiscard]] Subscription onChange(std::function<void()> changed) override {
    return changes_.add(std::move(changed));
  }
  ServiceReport report() const override { return {"calendar", "memory", true, {}}; }

  /// `before` is the offset until the first change; the changes are in order.
  void setZone(std::chrono::minutes before, std::vector<Change> changes = {}) {
    before_ = before;
    zone_ = std::move(changes);
    tell();
  }
  /// The clock was set: the scheduler's is set by the test.
  void tell() {
    scheduler_.post([this] { changes_.tell(); });
  }

 private:
  std::chrono::minutes offsetAt(WallTime at) const {
    std::chrono::minutes offset = before_;
    for (const Change& each : zone_) {
      if (each.at <= at) offset = each.offset;
    }
    return offset;
  }

  Scheduler& scheduler_;
  std::chrono::minutes before_{0};
  std::vector<Change> zone_;
  Listeners<> changes_;
};

}  // namespace brindle
