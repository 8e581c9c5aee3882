// What the idle check-in costs while somebody is away and it looks every second: processor time of
// this process, which does nothing else. Starts when nobody has touched the desktop for a minute.
//
//     idle_bench SECONDS
#include <fmt/format.h>
#include <sys/resource.h>

#include <cstdlib>

#include "platform/linux/idle_time_linux.h"
#include "platform/memory/preferences_memory.h"
#include "platform/posix/terminal_sink.h"
#include "triggers/idle_check_in.h"

namespace {

using namespace std::chrono_literals;
using namespace brindle;

Duration processorTime() {
  rusage used{};
  getrusage(RUSAGE_SELF, &used);
  const auto of = [](const timeval& time) {
    return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
  };
  return of(used.ru_utime) + of(used.ru_stime);
}

}  // namespace

int main(int count, char** words) {
  const auto seconds = std::chrono::seconds(count > 1 ? std::atoi(words[1]) : 30);
  TerminalSink lines;
  const Log log(lines);
  LinuxScheduler scheduler;
  DbusLink session(scheduler, log, DbusBus::session);
  LinuxIdleTime idle(scheduler, session, log);
  MemoryPreferences preferences;
  IdleCheckIn checkIn({idle, preferences, scheduler, log});
  if (!checkIn.setMinutes(1)) return 1;
  checkIn.follow({[] { return true; }, [] { return false; }, [] { return false; }, [] {}});

  Timer end;
  Timer wait = scheduler.every(1s, [&] {
    if (checkIn.state() != IdleCheckInRules::State::away) return;
    wait.cancel();
    const auto before = processorTime();
    end = scheduler.after(seconds, [&, before] {
      const double used = secondsOf(processorTime() - before);
      const auto report = idle.report();
      const bool still = checkIn.state() == IdleCheckInRules::State::away && report.answered;
      fmt::print("{}: {:.3f} % of a processor over {} s\n", still ? report.backend : "nobody away",
                 100 * used / secondsOf(seconds), seconds.count());
      scheduler.stop();
    });
  });
  scheduler.run();
  return 0;
}
