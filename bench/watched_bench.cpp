// watched_bench FOLDER [FOLDERS] [ROUNDS]: what observing a tree of ten files a folder costs: the
// set-up beside `fswatch`, memory, an opening until its event beside a bare read of the kernel's
// events, bursts of openings beside the same without an observer. FOLDER/tree is made and kept.

#include <fcntl.h>
#include <fmt/format.h>
#include <malloc.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "bench_tools.h"
#include "platform/linux/file_events_kernel.h"
#include "platform/linux/file_events_linux.h"
#include "platform/linux/scheduler_linux.h"
#include "platform/posix/descriptor.h"

namespace brindle {
namespace {

constexpr int filesEach = 10;

double clockMs(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}
double nowMs() { return clockMs(CLOCK_MONOTONIC); }

/// Folders of ten with folders of a hundred: every path is "a/b/file".
std::string fileOf(const std::string& tree, int number) {
  const int folder = number / filesEach;
  return fmt::format("{}/{}/{}/f{}", tree, folder / 100, folder % 100, number % filesEach);
}

void makeTree(const std::string& tree, int files) {
  if (std::filesystem::exists(fileOf(tree, files - 1))) return;
  for (int number = 0; number < files; ++number) {
    const std::filesystem::path path = fileOf(tree, number);
    if (number % filesEach == 0) std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << "x";
  }
}

/// The opener, in a process of its own: `pause` microseconds between openings. Prints when each
/// began, or how long all took, by the clock and of the processor.
int openAll(const std::string& tree, int files, int pause) {
  std::vector<std::string> paths;
  for (int number = 0; number < files; ++number) paths.push_back(fileOf(tree, number));
  const double begun = nowMs(), worked = clockMs(CLOCK_PROCESS_CPUTIME_ID);
  for (const std::string& path : paths) {
    if (pause > 0) {
      usleep(static_cast<useconds_t>(pause));
      fmt::print("{:.6f}\n", nowMs());
    }
    const Descriptor opened(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!opened) return 1;
  }
  if (pause == 0) {
    fmt::print("{:.6f}\n{:.6f}\n", nowMs() - begun, clockMs(CLOCK_PROCESS_CPUTIME_ID) - worked);
  }
  return 0;
}

std::vector<double> openElsewhere(const std::string& tree, int files, int pause) {
  const std::string command =
      fmt::format("/proc/{}/exe --open {} {} {}", getpid(), tree, files, pause);
  std::vector<double> numbers;
  FILE* opener = popen(command.c_str(), "r");
  for (double each = 0; opener && fscanf(opener, "%lf", &each) == 1;) numbers.push_back(each);
  if (opener) pclose(opener);
  return numbers;
}

struct Observer {
  explicit Observer(LinuxFileEvents& events, const std::string& tree) {
    stream = *events.open({{}, {tree}, {}}, [this](std::vector<FileEvent> batch) {
      const double at = nowMs();
      const std::lock_guard lock(mutex);
      for (const FileEvent& each : batch) {
        if (each.flags == file_event::mustScanSubDirs) ++lost;
        if (keepTimes) first.try_emplace(each.path, at);
      }
      seen += batch.size();
    });
  }
  std::mutex mutex;
  std::map<std::string, double> first;
  bool keepTimes = false;
  std::size_t seen = 0, lost = 0;
  std::unique_ptr<FileEventStream> stream;
};

void print(std::string_view what, std::vector<double> all) {
  std::ranges::sort(all);
  fmt::print("{:<48} median {:8.2f} ms, p99 {:8.2f} ms, most {:8.2f} ms\n", what, median(all),
             all[all.size() * 99 / 100], all.back());
}

/// From its start to the first event that it prints, while a file is written again and again.
double firstEventOfFswatch(const std::string& tree) {
  const double begun = nowMs();
  FILE* watcher = popen(fmt::format("exec fswatch -1 -r {}", tree).c_str(), "r");
  if (!watcher) return 0;
  std::atomic<bool> over = false;
  std::thread writer([&] {
    while (!over) {
      std::ofstream(fileOf(tree, 0)) << "y";
      usleep(2000);
    }
  });
  char line[4096];
  const bool told = fgets(line, sizeof line, watcher) != nullptr;
  const double took = nowMs() - begun;
  over = true;
  writer.join();
  pclose(watcher);
  return told ? took : 0;
}

void setUp(LinuxFileEvents& events, const std::string& tree, int files, int rounds) {
  std::vector<double> ours, theirs;
  double bytes = 0;
  for (int i = 0; i < rounds; ++i) {
    const auto before = mallinfo2().uordblks;
    std::unique_ptr<Observer> observer;
    ours.push_back(milliseconds([&] { observer = std::make_unique<Observer>(events, tree); }));
    bytes = static_cast<double>(mallinfo2().uordblks - before) / files;
    observer.reset();
    theirs.push_back(firstEventOfFswatch(tree));
  }
  print("set-up", ours);
  print("fswatch, from its start to its first event", theirs);
  fmt::print("memory a watched file: {:.1f} bytes\n", bytes);
}

/// The kernel's part alone: a thread that reads the same events and notes the time.
std::vector<double> bareLatencies(const std::string& tree, int openings) {
  auto kernel = openFanotify();
  if (!kernel) kernel = openInotify();
  for (int folder = 0; folder * filesEach < openings; ++folder) {
    const auto path = std::filesystem::path(fileOf(tree, folder * filesEach)).parent_path();
    const Descriptor there(open(path.c_str(), O_PATH | O_CLOEXEC));
    static_cast<void>((*kernel)->watch(there.get(), KernelWatch::Part::contents));
  }
  std::vector<double> told;
  std::thread reader([&] {
    std::vector<KernelChange> changes;
    while (told.size() < static_cast<std::size_t>(openings)) {
      pollfd ready{(*kernel)->descriptor(), POLLIN, 0};
      if (poll(&ready, 1, 3000) <= 0) return;
      changes.clear();
      static_cast<void>((*kernel)->read(changes));
      told.insert(told.end(), changes.size(), nowMs());
    }
  });
  auto begun = openElsewhere(tree, openings, 2000);
  reader.join();
  for (std::size_t i = 0; i < std::min(begun.size(), told.size()); ++i)
    begun[i] = told[i] - begun[i];
  return begun;
}

void latency(LinuxFileEvents& events, const std::string& tree, int openings) {
  print("opening to read, bare kernel", bareLatencies(tree, openings));
  Observer observer(events, tree);
  observer.keepTimes = true;
  const auto begun = openElsewhere(tree, openings, 2000);
  observer.stream->flush();
  std::vector<double> took;
  for (std::size_t i = 0; i < begun.size(); ++i) {
    const auto told = observer.first.find(fileOf(tree, static_cast<int>(i)));
    if (told != observer.first.end()) took.push_back(told->second - begun[i]);
  }
  fmt::print("{} of {} openings told\n", took.size(), begun.size());
  print("opening to event", took);
}

void bursts(LinuxFileEvents& events, const std::string& tree, int files, int rounds) {
  std::vector<double> alone, aloneWork, observed, observedWork, caughtUp;
  std::size_t seen = 0, lost = 0;
  for (int i = 0; i < rounds; ++i) {
    const auto before = openElsewhere(tree, files, 0);
    alone.push_back(before[0]);
    aloneWork.push_back(before[1]);
    Observer observer(events, tree);
    const auto now = openElsewhere(tree, files, 0);
    observed.push_back(now[0]);
    observedWork.push_back(now[1]);
    caughtUp.push_back(milliseconds([&] { observer.stream->flush(); }));
    seen += observer.seen;
    lost += observer.lost;
  }
  print(fmt::format("{} openings, nobody observes", files), alone);
  print(fmt::format("{} openings, observed", files), observed);
  print("until the last was told after that", caughtUp);
  fmt::print(
      "the opener takes {:.2f} times as long, {:.2f} times the processor; {:.0f} openings a "
      "second; {} of {} told, {} scans asked for\n",
      median(observed) / median(alone), median(observedWork) / median(aloneWork),
      files / median(observed) * 1000, seen, static_cast<std::size_t>(files * rounds), lost);
}

}  // namespace
}  // namespace brindle

int main(int argc, char** argv) {
  if (argc == 5 && std::string(argv[1]) == "--open") {
    return brindle::openAll(argv[2], std::atoi(argv[3]), std::atoi(argv[4]));
  }
  if (argc < 2) return 2;
  const std::string tree = std::string(argv[1]) + "/tree";
  const int files = (argc > 2 ? std::atoi(argv[2]) : 10'000) * brindle::filesEach;
  const int rounds = argc > 3 ? std::atoi(argv[3]) : 9;
  brindle::makeTree(tree, files);
  brindle::LinuxScheduler loop;
  brindle::OpeningTimes times;
  brindle::LinuxFileEvents events(loop, times);
  fmt::print("{}\n", events.report().backend);
  if (argc < 5) {
    brindle::setUp(events, tree, files, rounds);
    brindle::latency(events, tree, 1000);
  }
  brindle::bursts(events, tree, files, rounds);
  return 0;
}
