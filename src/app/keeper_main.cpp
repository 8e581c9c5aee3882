/// brindle-keeper PROGRAM [ARG ...]: runs the program and, should it be killed or crash, runs it
/// again at once, without the arguments (they tell of the first start only), so that an open
/// guarded window is back before anybody can use the machine. It holds nothing else on purpose: no
/// libraries, no state, no wake-ups while the program lives.
///
/// A program that ends by itself (any exit status) has ended for good and its status is passed on;
/// only death by a signal brings it back. SIGTERM, SIGINT and SIGHUP are handed on and decided by
/// the program.

#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "platform/posix/spawn.h"

namespace {

constexpr int cannotRun = 127;

/// Deaths close together are a crash on start: the pause grows to a minute, the trying never ends.
class Pause {
 public:
  unsigned secondsBeforeRestart() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const bool quick = last_ != 0 && now.tv_sec - last_ < quickSeconds;
    last_ = now.tv_sec;
    quickDeaths_ = quick ? quickDeaths_ + 1 : 0;
    if (quickDeaths_ <= freeRestarts) return 0;
    const unsigned doubled = 1U << (quickDeaths_ - freeRestarts - 1);
    return quickDeaths_ - freeRestarts > 6 ? longest : doubled;
  }

 private:
  static constexpr long quickSeconds = 5;
  static constexpr unsigned freeRestarts = 5;
  static constexpr unsigned longest = 60;
  long last_ = 0;
  unsigned quickDeaths_ = 0;
};

extern "C" void notReached(int) {}

/// Blocks the signals that are waited for.
sigset_t holdSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int each : {SIGCHLD, SIGTERM, SIGINT, SIGHUP}) sigaddset(&set, each);
  sigprocmask(SIG_BLOCK, &set, nullptr);
  // BSD systems drop an ignored signal even while it is blocked, and SIGCHLD is ignored unless it
  // has a handler.
  struct sigaction action {};
  action.sa_handler = notReached;
  sigaction(SIGCHLD, &action, nullptr);
  return set;
}

/// An order to quit that comes while there is no program to decide it ends the keeper: a program
/// that cannot start after the session's end must not be tried for ever.
void pauseFor(unsigned seconds, const sigset_t& signals) {
  sigprocmask(SIG_UNBLOCK, &signals, nullptr);
  while (seconds > 0) seconds = sleep(seconds);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
}

pid_t start(char** command) {
  pid_t child = -1;
  const int error = brindle::spawn(child, command);
  if (error == 0) return child;
  std::fprintf(stderr, "brindle-keeper: cannot run %s: %s\n", command[0], std::strerror(error));
  return -1;
}

/// Waits for the end of the program, handing signals on meanwhile. Returns its wait status.
int attend(pid_t child, const sigset_t& signals) {
  for (;;) {
    int seen = 0;
    if (sigwait(&signals, &seen) != 0) continue;
    if (seen == SIGCHLD) {
      int status = 0;
      if (waitpid(child, &status, WNOHANG) == child) return status;
    } else {
      kill(child, seen);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fputs("usage: brindle-keeper PROGRAM [ARG ...]\n", stderr);
    return 2;
  }
  const sigset_t signals = holdSignals();
  for (Pause pause;;) {
    const pid_t child = start(argv + 1);
    if (child < 0) return cannotRun;
    const int status = attend(child, signals);
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    argv[2] = nullptr;
    std::fprintf(stderr, "brindle-keeper: ended by signal %d, starting again\n", WTERMSIG(status));
    if (const unsigned wait = pause.secondsBeforeRestart()) pauseFor(wait, signals);
  }
}
