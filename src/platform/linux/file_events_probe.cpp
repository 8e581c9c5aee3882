#include <fcntl.h>
#include <poll.h>
#include <sys/fanotify.h>
#include <sys/inotify.h>

#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/linux/file_events_linux.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/signals_blocked.h"

namespace brindle {
namespace {

constexpr std::chrono::seconds patience{1};

bool comesBack(const Descriptor& observer, const std::string& path) {
  const Descriptor opened(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  pollfd ready{observer.get(), POLLIN, 0};
  const auto wait = std::chrono::milliseconds(patience).count();
  return opened && uninterrupted([&] { return poll(&ready, 1, static_cast<int>(wait)); }) > 0;
}

/// Between the thread that opens and the main loop. The thread may hang in an opening on a server
/// that is away; nobody waits for it.
struct Probe : std::enable_shared_from_this<Probe> {
  std::mutex mutex;
  Scheduler* scheduler = nullptr;  ///< none: nobody asks any more
  std::function<void(bool)> done;
  Timer patienceOver;

  void fromThread(bool seen) {
    const std::lock_guard lock(mutex);
    if (scheduler) scheduler->post([self = shared_from_this(), seen] { self->tell(seen); });
  }
  void tell(bool seen) {
    const auto told = std::exchange(done, nullptr);
    giveUp();
    if (told) told(seen);
  }
  void giveUp() {
    const std::lock_guard lock(mutex);
    scheduler = nullptr;
    done = nullptr;
    patienceOver.cancel();
  }
};

}  // namespace

bool openingIsSeen(const std::string& path) {
  const Descriptor fanotify(
      fanotify_init(FAN_CLASS_NOTIF | FAN_REPORT_FID | FAN_CLOEXEC | FAN_NONBLOCK, O_RDONLY));
  if (fanotify && fanotify_mark(fanotify.get(), FAN_MARK_ADD, FAN_OPEN | FAN_ONDIR, AT_FDCWD,
                                path.c_str()) == 0) {
    return comesBack(fanotify, path);
  }
  const Descriptor inotify(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
  return inotify && inotify_add_watch(inotify.get(), path.c_str(), IN_OPEN) >= 0 &&
         comesBack(inotify, path);
}

Subscription LinuxFileEvents::probe(const std::string& path, std::function<void(bool seen)> done) {
  auto probe = std::make_shared<Probe>();
  probe->scheduler = &scheduler_;
  probe->done = std::move(done);
  // A little longer than the look itself may take.
  probe->patienceOver = scheduler_.after(2 * patience, [weak = std::weak_ptr(probe)] {
    if (const auto due = weak.lock()) due->tell(false);
  });
  const SignalsBlocked blocked;
  try {
    std::thread([probe, path] { probe->fromThread(openingIsSeen(path)); }).detach();
  } catch (const std::system_error&) {
    probe->fromThread(false);
  }
  return Subscription([probe] { probe->giveUp(); });
}

}  // namespace brindle
