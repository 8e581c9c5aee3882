#include "platform/linux/file_events_stream.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <iterator>
#include <system_error>
#include <utility>

#include "platform/posix/signals_blocked.h"

namespace brindle {
namespace {

WallTime wallTime() {
  return std::chrono::time_point_cast<WallTime::duration>(std::chrono::system_clock::now());
}

std::vector<std::string> allOf(const ObservedPaths& paths) {
  auto all = paths.files;
  all.insert(all.end(), paths.folders.begin(), paths.folders.end());
  return all;
}

}  // namespace

/// The table of mounts is read first: what is mounted from now on makes a changed root.
LinuxFileEventStream::LinuxFileEventStream(OpeningTimes& times, FileEvents::Deliver deliver,
                                           ObservedPaths paths)
    : batch_(times),
      deliver_(std::move(deliver)),
      left_(std::move(paths)),
      mounts_(allOf(left_)),
      wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  batch_.begin(wallTime());
}

void LinuxFileEventStream::observe(std::unique_ptr<KernelWatch> kernel, Kind kind) {
  observations_.push_back(
      std::make_unique<Observation>(std::move(kernel), batch_, unobserved_, left_.exclusions));
  ObservedPaths paths;
  if (kind != Kind::folders) paths.files = std::exchange(left_.files, {});
  if (kind != Kind::files) paths.folders = std::exchange(left_.folders, {});
  auto refused = observations_.back()->add(paths);
  std::ranges::move(refused.files, std::back_inserter(left_.files));
  std::ranges::move(refused.folders, std::back_inserter(left_.folders));
}

bool LinuxFileEventStream::start(const std::string& limit) {
  if (!wake_) return false;
  for (const std::string& path : allOf(left_)) {
    unobserved_.add(limit.empty()
                        ? UnobservedPath{path, "its file system does not tell of openings"}
                        : UnobservedPath{path, limit, false, true});
  }
  const SignalsBlocked blocked;
  try {
    thread_ = std::thread([this] { run(); });
  } catch (const std::system_error&) {
    return false;
  }
  return true;
}

LinuxFileEventStream::~LinuxFileEventStream() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  eventfd_write(wake_.get(), 1);
  thread_.join();
}

void LinuxFileEventStream::flush() {
  std::unique_lock lock(mutex_);
  const std::uint64_t mine = ++flushesAsked_;
  eventfd_write(wake_.get(), 1);
  answered_.wait(lock, [&] { return flushesDone_ >= mine; });
}

void LinuxFileEventStream::run() {
  pthread_setname_np(pthread_self(), "file events");
  // The set-up may have taken in something already.
  for (Turn last = turn();; last = turn()) {
    wait(last);
    const std::lock_guard lock(mutex_);
    if (ending_) return;
  }
}

void LinuxFileEventStream::wait(Turn last) {
  std::vector<pollfd> ready{{wake_.get(), POLLIN, 0}};
  const timespec pause{0, std::chrono::nanoseconds(busyPause).count()};
  if (last.busy) ppoll(ready.data(), 1, &pause, nullptr);
  ready.push_back({mounts_.descriptor(), POLLPRI, 0});
  for (const auto& each : observations_) ready.push_back({each->descriptor(), POLLIN, 0});
  poll(ready.data(), ready.size(), last.more ? 0 : -1);
  eventfd_t count = 0;
  eventfd_read(wake_.get(), &count);
  if ((ready[1].revents & POLLPRI) == 0) return;
  for (const std::string& path : mounts_.changed()) batch_.rootChanged(path);
}

LinuxFileEventStream::Turn LinuxFileEventStream::turn() {
  std::uint64_t asked = 0;
  bool flushing = false;
  {
    const std::lock_guard lock(mutex_);
    if (ending_) return {};
    asked = flushesAsked_;
    flushing = asked > flushesDone_;
  }
  std::size_t told = 0;
  bool more = takeIn(told);
  for (int turns = 1; more && flushing && turns < turnsOfFlush; ++turns) more = takeIn(told);
  if (more && flushing) {
    for (const auto& each : observations_) each->giveUp();
    deliver_(batch_.take());
  }
  const std::lock_guard lock(mutex_);
  flushesDone_ = asked;
  answered_.notify_all();
  return {told > 32, more};
}

/// What the kernel has at hand; true when more waits. Adds to `told` how much it was.
bool LinuxFileEventStream::takeIn(std::size_t& told) {
  batch_.begin(wallTime());
  bool more = false;
  for (const auto& each : observations_) more = each->turn() || more;
  auto events = batch_.take();
  told += events.size();
  if (!events.empty()) deliver_(std::move(events));
  return more;
}

}  // namespace brindle
