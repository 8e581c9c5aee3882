// store_bench FOLDER [EVENTS [ROUNDS]]: how long after an occurrence the camera is asked and the
// event is on the disk that holds FOLDER, and how long the main thread is held meanwhile.

#include <fmt/format.h>
#include <time.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "bench_tools.h"
#include "core/nightjar_store.h"
#include "core/null_collaborators.h"
#include "platform/linux/scheduler_linux.h"
#include "platform/memory/boot_clock_memory.h"
#include "platform/memory/notifications_memory.h"
#include "platform/memory/preferences_memory.h"
#include "platform/memory/random_memory.h"
#include "platform/memory/screen_lock_memory.h"
#include "platform/posix/files_posix.h"
#include "platform/posix/worker_queue_thread.h"

namespace brindle {
namespace {

double readMilliseconds(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return 1e3 * static_cast<double>(now.tv_sec) + 1e-6 * static_cast<double>(now.tv_nsec);
}

/// Notes when it was asked, and never answers.
struct AskedCamera final : CameraCapturing {
  bool cameraAllowed() const override { return true; }
  void requestAccess(std::function<void(bool)>) override {}
  void start(std::function<void()>) override { asked = readMilliseconds(CLOCK_MONOTONIC); }
  [[nodiscard]] Subscription takePhoto(int, FirstPhoto, Series) override { return {}; }
  double asked = 0;
};

struct GivenSecrets final : OwnerSecrets {
  explicit GivenSecrets(Scheduler& scheduler) : scheduler_(scheduler) {}
  States states() const override { return {SecretState::set, SecretState::set}; }
  void refresh(std::function<void(States)> done) override {
    scheduler_.post([this, done = std::move(done)] { done(states()); });
  }
  [[nodiscard]] Subscription onChange(std::function<void(States)>) override { return {}; }
  Scheduler& scheduler_;
};

struct Guard {
  explicit Guard(std::string folder) : root(std::move(folder)) {}
  std::string root;
  Silence silence;
  LinuxScheduler scheduler;
  MemoryBootClock clock{scheduler};
  MemoryScreenLock screen{scheduler};
  MemoryPreferences defaults;
  MemoryNotifications notifications{scheduler};
  MemoryRandom random;
  PosixFiles files{root};
  PhotoVault vault{files, root, [] { return std::string("20260302-100000"); }, Log(silence)};
  AskedCamera camera;
  GivenSecrets secrets{scheduler};
  NullCollaborators others{scheduler};
  ThreadWorkerQueue worker{scheduler, "bench.files"};
  /// Of the main loop: how long a turn took, and how much of one was work of this thread. The rest
  /// is waiting, for a lock, the disk, or a processor that others use.
  double longestTurn = 0, longestWork = 0;

  void runUntil(const bool& done) {
    while (!done) {
      const double begun = readMilliseconds(CLOCK_MONOTONIC);
      const double worked = readMilliseconds(CLOCK_THREAD_CPUTIME_ID);
      scheduler.processReady();
      longestTurn = std::max(longestTurn, readMilliseconds(CLOCK_MONOTONIC) - begun);
      longestWork = std::max(longestWork, readMilliseconds(CLOCK_THREAD_CPUTIME_ID) - worked);
      if (!done) std::this_thread::yield();
    }
  }
};

void fill(Guard& guard, std::size_t count) {
  SavedState state;
  for (std::size_t i = 0; i < count; ++i) {
    UnlockEvent event;
    event.id = guard.random.newUuid();
    event.date = WallTime(std::chrono::seconds(1'760'000'000 + i));
    for (std::size_t photo = 0; photo < 4; ++photo) {
      event.photoFiles.push_back(photoFileName(event.id, photo));
    }
    state.events.push_back(std::make_shared<const UnlockEvent>(std::move(event)));
  }
  guard.vault.load();
  guard.vault.save(state);
}

void report(const char* what, std::vector<double> times) {
  std::ranges::sort(times);
  fmt::print("{:<24} median {:6.2f} ms, p99 {:6.2f} ms\n", what, times[times.size() / 2],
             times[times.size() * 99 / 100]);
}

void measure(Guard& guard, std::size_t count, int rounds) {
  fill(guard, count);
  NightjarStore store(
      {guard.scheduler, guard.clock, guard.screen, guard.defaults, guard.notifications,
       guard.random, guard.worker, guard.vault, guard.camera, guard.secrets, Log(guard.silence)},
      guard.others.all());
  store.start();
  bool on = false, warm = false;
  store.turnOn(ArmSource::owner(), [&](TurnOnOutcome) { on = true; });
  guard.runUntil(on);
  store.whenRecorded([&] { warm = true; });
  guard.runUntil(warm);

  std::vector<double> asked, durable;
  guard.longestTurn = guard.longestWork = 0;
  for (int i = 0; i < rounds; ++i) {
    bool recorded = false;
    const double begun = readMilliseconds(CLOCK_MONOTONIC);
    guard.scheduler.post([&] {
      store.occurred({std::string(trigger_kind::lidClosed), "Lid"});
      store.whenRecorded([&] { recorded = true; });
    });
    guard.runUntil(recorded);
    asked.push_back(guard.camera.asked - begun);
    durable.push_back(readMilliseconds(CLOCK_MONOTONIC) - begun);
  }
  fmt::print("{} events\n", count);
  report("camera asked after", asked);
  report("event on disk after", durable);
  fmt::print("{:<24} {:6.2f} ms, of work {:.2f} ms\n", "longest turn", guard.longestTurn,
             guard.longestWork);
}

}  // namespace
}  // namespace brindle

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const auto number = [&](int at, int otherwise) {
    return argc > at ? std::atoi(argv[at]) : otherwise;
  };
  const std::string folder = std::string(argv[1]) + "/brindle-store-bench";
  std::filesystem::remove_all(folder);
  {
    brindle::Guard guard(folder);
    brindle::measure(guard, static_cast<std::size_t>(number(2, 1000)), number(3, 200));
  }
  std::filesystem::remove_all(folder);
  return 0;
}
