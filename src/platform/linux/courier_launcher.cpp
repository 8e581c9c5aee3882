#include "platform/linux/courier_launcher.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>

#include "platform/linux/courier_spool.h"
#include "platform/linux/courier_unit.h"

namespace brindle {

using namespace std::chrono_literals;

namespace {

constexpr Duration firstCheck = 500ms;
constexpr Duration slowCheck = 10s;

/// Its own session, no blocked or handled signals, nothing to read or write.
int spawnDetached(const std::string& program, const std::string& spool, pid_t& child) {
  std::string name = program;
  std::string folder = spool;
  const std::array<char*, 3> command{name.data(), folder.data(), nullptr};
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  for (const int each : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    posix_spawn_file_actions_addopen(&files, each, "/dev/null", O_RDWR, 0);
  }
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t none;
  sigset_t all;
  sigemptyset(&none);
  sigfillset(&all);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setsigdefault(&attributes, &all);
  posix_spawnattr_setflags(&attributes,
                           POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  const int failed =
      posix_spawn(&child, program.c_str(), &files, &attributes, command.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&files);
  return failed;
}

}  // namespace

CourierLauncher::CourierLauncher(MainLoop& loop, Files& files, std::string spool,
                                 std::string program, DbusService* manager, Log log)
    : loop_(loop),
      files_(files),
      spool_(std::move(spool)),
      program_(std::move(program)),
      manager_(manager),
      log_(log) {}

std::string CourierLauncher::means() const {
  return manager_ && manager_->present() ? "a unit of the user's service manager"
                                         : "a process of its own session";
}

void CourierLauncher::need() {
  // Being started already: it looks at the spool once it is there.
  if (attempts_ > 0 && check_.armed()) return;
  if (!CourierLock::held(spool_)) return start();
  attempts_ = 0;
  if (!check_.armed()) check_ = loop_.after(slowCheck, [this] { look(); });
}

void CourierLauncher::look() {
  const bool held = CourierLock::held(spool_);
  const bool work = courierHasWork(files_, spool_);
  if (held || !work) attempts_ = 0;
  if (work && !held) start();
  if (work && held) check_ = loop_.after(slowCheck, [this] { look(); });
  listeners_.tell();
}

void CourierLauncher::start() {
  const Duration wait = std::min(firstCheck * (1 << std::min(attempts_, 5)), slowCheck);
  ++attempts_;
  check_ = loop_.after(wait, [this] { look(); });
  // A manager that took the order, and nothing came of it, is not asked again.
  if (attempts_ == 1 && manager_ && manager_->present()) return startUnit();
  spawn();
}

void CourierLauncher::startUnit() {
  startCourierUnit(*manager_, program_, spool_, lifetime_.guard([this](const std::string& error) {
    if (error.empty()) return;
    log_.notice("background transfer: no unit (%{public}s), a process instead", error);
    spawn();
  }));
}

void CourierLauncher::spawn() {
  pid_t child = 0;
  if (const int failed = spawnDetached(program_, spool_, child); failed != 0) {
    log_.notice("background transfer: brindle-courier not started, %{public}s",
                std::strerror(failed));
    return;
  }
  reap(child);
}

/// A child that ended stays in the system's table until it is asked for.
void CourierLauncher::reap(int child) {
  // glibc 2.36 declares its function for C only.
  Descriptor process(static_cast<int>(syscall(SYS_pidfd_open, child, 0)));
  if (!process) return;
  auto ended = loop_.watch(process.get(), POLLIN, [this, child](std::uint32_t) {
    (void)uninterrupted([&] { return waitpid(child, nullptr, WNOHANG); });
    loop_.post(lifetime_.guard([this, child] { children_.erase(child); }));
  });
  children_[child] = {std::move(process), std::move(ended)};
}

}  // namespace brindle
