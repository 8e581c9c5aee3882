/// brindle-courier SPOOL: carries out the uploads that lie in a spool, whether or not the guard
/// still runs, and ends when there have been none for a while.

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <utility>

#include "platform/linux/awake_clock.h"
#include "platform/linux/courier.h"
#include "platform/linux/folder_watch.h"
#include "platform/linux/http_curl.h"
#include "platform/linux/scheduler_linux.h"
#include "platform/posix/files_posix.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

// The next upload often follows at once, and finds a kept connection.
constexpr Duration idleTime = 2s;

/// Tokens pass through our memory; nothing that was open before concerns us.
void harden() {
  close_range(STDERR_FILENO + 1, ~0U, 0);
  umask(077);
  const rlimit none{0, 0};
  setrlimit(RLIMIT_CORE, &none);
  prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
  std::signal(SIGHUP, SIG_IGN);
  (void)!chdir("/");
}

class CourierRun {
 public:
  CourierRun(std::string spool, CourierLock lock)
      : spool_(std::move(spool)),
        lock_(std::move(lock)),
        http_(loop_),
        files_(spool_),
        courier_(loop_, http_, files_, spool_, AwakeClock::of(loop_)),
        watch_(loop_, [this] { look(); }) {}

  void run() {
    for (const auto& each : courierSessions(files_, spool_)) {
      (void)files_.removeLeftovers(each.done());
    }
    look();
    beat_ = loop_.every(idleTime, [this] { beat(); });
    if (loop_.usable()) loop_.run();
  }

 private:
  void look() {
    watched_ = watch_.add(spool_);
    for (const auto& each : courierSessions(files_, spool_)) {
      watched_ = watch_.add(each.todo()) && watch_.add(each.cancel()) && watched_;
    }
    courier_.look();
    idleSince_ = loop_.awakeTime();
  }

  void beat() {
    if (!watched_) courier_.look();
    if (!courier_.idle()) idleSince_ = loop_.awakeTime();
    if (loop_.awakeTime() - idleSince_ >= idleTime) leave();
  }

  /// A job written before the lock is let go is seen here; one written after finds the lock free,
  /// and its program starts another courier.
  void leave() {
    lock_.reset();
    courierStep("unlocked");
    if (!courierHasWork(files_, spool_)) return loop_.stop();
    lock_ = CourierLock::take(spool_);
    if (!lock_) return loop_.stop();
    look();
  }

  std::string spool_;
  std::optional<CourierLock> lock_;
  LinuxScheduler loop_;
  CurlHttp http_;
  PosixFiles files_;
  Courier courier_;
  FolderWatch watch_;
  bool watched_ = false;
  Duration idleSince_{};
  Timer beat_;
};

}  // namespace
}  // namespace brindle

int main(int count, char** words) {
  if (count != 2) return 64;
  brindle::harden();
  brindle::courierStep("started");
  auto lock = brindle::CourierLock::take(words[1]);
  if (!lock) return 0;  // another one is at work
  brindle::courierStep("locked");
  brindle::CourierRun(words[1], std::move(*lock)).run();
  return 0;
}
