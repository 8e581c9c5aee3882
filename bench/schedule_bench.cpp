// What the schedule costs with 100 times by the rules of a real time zone: the search for the next
// start, which follows every check and every change, and a check with it.

#include <benchmark/benchmark.h>

#include <array>
#include <cstdlib>

#include "platform/linux/calendar_linux.h"
#include "platform/linux/scheduler_linux.h"
#include "platform/memory/preferences_memory.h"
#include "triggers/turn_on_schedule.h"

namespace brindle {
namespace {

struct NoLog final : LogSink {
  void write(std::string_view, std::span<const LogArg>) override {}
};

std::vector<ScheduleTime> hundredTimes() {
  std::vector<ScheduleTime> times;
  for (int i = 0; i < 100; ++i) {
    const auto id = static_cast<std::uint8_t>(i);
    times.push_back({Uuid{{id}}, {1 + i % 7, 1 + i % 5}, i % 24, i * 7 % 60, true});
  }
  return times;
}

struct World {
  explicit World(const char* zone) {
    // Without a name the zone's file is looked at, as in a session.
    zone ? setenv("TZ", zone, 1) : unsetenv("TZ");
    schedule.load();
    if (!schedule.setTimes(hundredTimes())) std::abort();
  }
  LinuxScheduler scheduler;
  LinuxCalendar calendar{scheduler};
  MemoryPreferences preferences;
  NoLog lines;
  TurnOnSchedule schedule{preferences, calendar, scheduler, Log(lines)};
};

constexpr std::array<const char*, 3> zones{nullptr, "Europe/Berlin", "Australia/Lord_Howe"};

void nextOfHundred(benchmark::State& state) {
  World world(zones.at(static_cast<std::size_t>(state.range(0))));
  for (auto _ : state) benchmark::DoNotOptimize(world.schedule.next());
}
BENCHMARK(nextOfHundred)->DenseRange(0, 2)->Unit(benchmark::kMicrosecond);

void checkOfHundred(benchmark::State& state) {
  World world(zones.at(static_cast<std::size_t>(state.range(0))));
  world.schedule.start();
  for (auto _ : state) world.schedule.check();
}
BENCHMARK(checkOfHundred)->DenseRange(0, 2)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace brindle
