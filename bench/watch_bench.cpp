// watch_bench FOLDER [ROUNDS]: what an occurrence costs the alert watch before it is on the wire
// and until the call is over, with nothing and with a thousand operations owed, and how long one
// check-in takes to be stored. Files and preferences are real, in FOLDER; the far end is a
// function.

#include <fmt/format.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "bench_tools.h"
#include "platform/linux/preferences_linux.h"
#include "platform/memory/background_transfer_memory.h"
#include "platform/memory/machine_memory.h"
#include "platform/memory/process_activity_memory.h"
#include "platform/memory/random_memory.h"
#include "platform/memory/system_power_memory.h"
#include "platform/posix/files_posix.h"
#include "service/alert_watch.h"
#include "testing/virtual_scheduler.h"
#include "testing/virtual_worker_queue.h"

namespace brindle {
namespace {

struct SomebodySignedIn final : SessionSource {
  std::optional<Session> who = Session{"token", "owner@example.org", "Email", {}, {}};
  const std::optional<Session>& session() const override { return who; }
  [[nodiscard]] Subscription onSessionChange(std::function<void()>) override { return {}; }
};

struct World {
  explicit World(const std::string& folder)
      : files(folder), preferences(files, folder, Log(silence)) {
    http.setServer([this](const MemoryRequest&, const auto&) { onWire = now(); });
    background.setServer([](const MemoryRequest&, const auto&) {});
    AlertWatch::Options options;
    options.outboxFolder = folder + "/outbox";
    options.photosFolder = folder + "/photos";
    watch = std::make_unique<AlertWatch>(
        AlertWatch::Parts{scheduler, preferences, files, worker, client, background, power,
                          activity, machine, random, sessions, Log(silence)},
        options);
    watch->start({});
    scheduler.run();
  }
  static double now() {
    return std::chrono::duration<double, std::milli>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
  }
  void pending() { watch->pending({random.newUuid(), scheduler.wallTime(), "unlock", 0, {}, {}}); }

  Silence silence;
  VirtualScheduler scheduler;
  PosixFiles files;
  LinuxPreferences preferences;
  MemoryHttp http{scheduler, files};
  MemoryBackgroundTransfer background{scheduler, files, "brindle.watch"};
  VirtualWorkerQueue worker{scheduler};
  SomebodySignedIn sessions;
  ServiceClient client{http, sessions, "https://service.example"};
  MemorySystemPower power{scheduler};
  MemoryProcessActivity activity;
  MemoryMachine machine;
  MemoryRandom random{std::random_device{}()};
  double onWire = 0;
  std::unique_ptr<AlertWatch> watch;
};

void print(std::string_view what, std::vector<double> all) {
  std::ranges::sort(all);
  fmt::print("{:<44} median {:6.2f} ms, p99 {:6.2f} ms\n", what, median(all),
             all[all.size() * 99 / 100]);
}

void measure(World& world, int rounds, std::string_view owed) {
  std::vector<double> wire, whole, stored;
  for (int i = 0; i < rounds; ++i) {
    const double begun = World::now();
    world.pending();
    whole.push_back(World::now() - begun);
    wire.push_back(world.onWire - begun);
    world.scheduler.run();
    stored.push_back(milliseconds([&] {
      if (i % 2 == 0) {
        world.watch->guardOn(ArmSource::owner());
      } else {
        world.watch->guardOff();
      }
    }));
    world.scheduler.run();
  }
  print(fmt::format("pending on the wire, {} owed", owed), wire);
  print(fmt::format("pending, whole call, {} owed", owed), whole);
  print(fmt::format("check-in queued and sent, {} owed", owed), stored);
}

}  // namespace
}  // namespace brindle

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const int rounds = argc > 2 ? std::atoi(argv[2]) : 200;
  brindle::World world(argv[1]);
  brindle::measure(world, 20, "few");
  for (int i = 0; i < 1000; ++i) world.pending();
  world.scheduler.run();
  brindle::measure(world, rounds, "1,000");
  return 0;
}
