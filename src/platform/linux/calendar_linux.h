#pragma once

#include <string>

#include "platform/calendar.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/main_loop.h"

namespace brindle {

/// The calendar by the rules that every clock of this session goes by: those of the C library, from
/// the system's time zone database (TZ, else /etc/localtime). ICU brings a database of its own,
/// which a stable distribution leaves as it was: Debian 12's is of 2022 and wrong by an hour in
/// Mexico, Egypt, Greenland and fifteen zones more.
class LinuxCalendar final : public Calendar {
 public:
  /// Changes of the zone are seen by `zoneFile` being replaced.
  explicit LinuxCalendar(MainLoop& loop, const std::string& zoneFile = "/etc/localtime");
  LinuxCalendar(const LinuxCalendar&) = delete;
  LinuxCalendar& operator=(const LinuxCalendar&) = delete;

  // All of them look first whether the zone or its rules were replaced, which is a stat(2).
  LocalTime local(WallTime at) const override;
  std::optional<WallTime> at(std::chrono::year_month_day day, int hour, int minute) const override;
  std::optional<WallTime> addingDays(WallTime to, int days) const override;
  /// Told after a sleep, too: the system sets the clock when it wakes.
  [[nodiscard]] Subscription onChange(std::function<void()> changed) override {
    return changes_.add(std::move(changed));
  }
  ServiceReport report() const override;

 private:
  void clockWasSet();
  void folderChanged();
  bool armClock();

  std::string zoneName_;  ///< the zone file's, in its folder
  Descriptor clock_;
  Descriptor folder_;
  Listeners<> changes_;
  Subscription clockWatch_;
  Subscription folderWatch_;
};

}  // namespace brindle
