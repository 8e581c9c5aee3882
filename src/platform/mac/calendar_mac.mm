#import <Foundation/Foundation.h>

#include <utility>

#include "platform/local_clock.h"
#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_support.h"

namespace brindle {
namespace {

/// Main thread only; the observers' blocks hold it weakly.
struct Zone {
  NSTimeZone* now = nil;
  Listeners<> changes;

  void read() {
    [NSTimeZone resetSystemTimeZone];  // the process keeps the one it asked for first
    now = NSTimeZone.systemTimeZone;
  }
  /// Offsets change at whole seconds.
  std::chrono::seconds offsetAt(WallTime at) const {
    const auto since = std::chrono::floor<std::chrono::seconds>(at).time_since_epoch();
    NSDate* date = [NSDate dateWithTimeIntervalSince1970:static_cast<double>(since.count())];
    return std::chrono::seconds([now secondsFromGMTForDate:date]);
  }
};

id<NSObject> observe(NSNotificationName name, const std::shared_ptr<Zone>& zone) {
  const std::weak_ptr<Zone> weak = zone;
  return [NSNotificationCenter.defaultCenter addObserverForName:name
                                                         object:nil
                                                          queue:NSOperationQueue.mainQueue
                                                     usingBlock:^(NSNotification*) {
                                                       const auto alive = weak.lock();
                                                       if (!alive) return;
                                                       alive->read();
                                                       alive->changes.tell();
                                                     }];
}

/// The zone and its rules are the system's; what follows from them is reckoned as everywhere.
class MacCalendar final : public Calendar {
 public:
  MacCalendar() {
    zone_->read();
    clockObserver_ = observe(NSSystemClockDidChangeNotification, zone_);
    zoneObserver_ = observe(NSSystemTimeZoneDidChangeNotification, zone_);
  }
  MacCalendar(const MacCalendar&) = delete;
  MacCalendar& operator=(const MacCalendar&) = delete;
  ~MacCalendar() override {
    [NSNotificationCenter.defaultCenter removeObserver:clockObserver_];
    [NSNotificationCenter.defaultCenter removeObserver:zoneObserver_];
  }

  LocalTime local(WallTime at) const override {
    return local_clock::shownAs(at + zone_->offsetAt(at));
  }
  std::optional<WallTime> at(std::chrono::year_month_day day, int hour, int minute) const override {
    return local_clock::at(day, hour, minute, [this](WallTime at) { return zone_->offsetAt(at); });
  }
  std::optional<WallTime> addingDays(WallTime to, int days) const override {
    return local_clock::whenShownOnItsDay(to + zone_->offsetAt(to) + std::chrono::days(days),
                                          [this](WallTime at) { return zone_->offsetAt(at); });
  }
  Subscription onChange(std::function<void()> changed) override {
    return zone_->changes.add(std::move(changed));
  }
  ServiceReport report() const override {
    return {"calendar", "Foundation", true,
            "local time is that of " + mac::stringOf(zone_->now.name)};
  }

 private:
  std::shared_ptr<Zone> zone_ = std::make_shared<Zone>();
  id<NSObject> clockObserver_ = nil;
  id<NSObject> zoneObserver_ = nil;
};

}  // namespace

std::unique_ptr<Calendar> makeMacCalendar() { return std::make_unique<MacCalendar>(); }

}  // namespace brindle
