#include "platform/linux/calendar_linux.h"

#include <poll.h>
#include <sys/timerfd.h>

#include <cstdint>
#include <ctime>
#include <limits>

#include "platform/linux/inotify_reading.h"
#include "platform/local_clock.h"

namespace brindle {
namespace {

std::tm shown(WallTime at) {
  const std::time_t when = std::chrono::floor<std::chrono::seconds>(at).time_since_epoch().count();
  std::tm local{};
  localtime_r(&when, &local);
  return local;
}

std::chrono::seconds offsetAt(WallTime at) { return std::chrono::seconds(shown(at).tm_gmtoff); }

/// Has the C library look for a zone file, or rules, that were replaced: of itself it never does.
void readZoneAnew() { tzset(); }

Descriptor watchFolder(const std::string& folder) {
  Descriptor made(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
  constexpr std::uint32_t what = IN_MOVED_TO | IN_CREATE | IN_CLOSE_WRITE | IN_DELETE | IN_ONLYDIR;
  if (made && inotify_add_watch(made.get(), folder.c_str(), what) < 0) return {};
  return made;
}

}  // namespace

LinuxCalendar::LinuxCalendar(MainLoop& loop, const std::string& zoneFile)
    : zoneName_(zoneFile.substr(zoneFile.rfind('/') + 1)),
      clock_(timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC | TFD_NONBLOCK)),
      folder_(watchFolder(zoneFile.substr(0, zoneFile.rfind('/') + 1))) {
  readZoneAnew();
  if (clock_ && armClock()) {
    clockWatch_ = loop.watch(clock_.get(), POLLIN, [this](std::uint32_t) { clockWasSet(); });
  }
  if (folder_) {
    folderWatch_ = loop.watch(folder_.get(), POLLIN, [this](std::uint32_t) { folderChanged(); });
  }
}

/// A timer that never comes due, but is cancelled whenever the clock is set.
bool LinuxCalendar::armClock() {
  itimerspec never{};
  never.it_value.tv_sec = std::numeric_limits<std::uint32_t>::max();  // the year 2106
  return timerfd_settime(clock_.get(), TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &never,
                         nullptr) == 0;
}

void LinuxCalendar::clockWasSet() {
  std::uint64_t count = 0;
  (void)uninterrupted([&] { return ::read(clock_.get(), &count, sizeof count); });
  // A clock beyond its moment would make the timer come due again and again.
  if (count > 0 || !armClock()) clockWatch_.end();
  changes_.tell();
}

void LinuxCalendar::folderChanged() {
  bool ours = false;
  readInotify(folder_.get(), [&](const inotify_event& event, std::string_view name) {
    ours = ours || name == zoneName_ || (event.mask & IN_Q_OVERFLOW) != 0;
  });
  if (!ours) return;
  readZoneAnew();
  changes_.tell();
}

LocalTime LinuxCalendar::local(WallTime at) const {
  readZoneAnew();
  return local_clock::shownAs(at + offsetAt(at));
}

std::optional<WallTime> LinuxCalendar::at(std::chrono::year_month_day day, int hour,
                                          int minute) const {
  readZoneAnew();
  return local_clock::at(day, hour, minute, offsetAt);
}

std::optional<WallTime> LinuxCalendar::addingDays(WallTime to, int days) const {
  readZoneAnew();
  return local_clock::whenShownOnItsDay(to + offsetAt(to) + std::chrono::days(days), offsetAt);
}

ServiceReport LinuxCalendar::report() const {
  const WallTime now = std::chrono::floor<WallTime::duration>(std::chrono::system_clock::now());
  const bool told = clockWatch_ && folderWatch_;
  return {"calendar", "system time zone", told,
          told ? std::string("local time is ") + shown(now).tm_zone
               : "a clock that is set, or another time zone, is noticed at the next start only"};
}

}  // namespace brindle
