#include "platform/linux/quit_sender_linux.h"

#include <fmt/format.h>
#include <signal.h>
#include <string.h>
#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace brindle {

namespace {

sigset_t quitSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int each : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&set, each);
  return set;
}

std::string describe(const signalfd_siginfo& info) {
  return fmt::format("SIG{} of process {}, user {}", sigabbrev_np(static_cast<int>(info.ssi_signo)),
                     info.ssi_pid, info.ssi_uid);
}

}  // namespace

LinuxQuitSender::LinuxQuitSender(LinuxScheduler& scheduler, LogindSession& logind)
    : logind_(logind) {
  blockSignals();
  const sigset_t signals = quitSignals();
  descriptor_ = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
  if (descriptor_ < 0) return;
  watch_ = scheduler.watch(descriptor_, EPOLLIN, [this](std::uint32_t) { readSignals(); });
}

LinuxQuitSender::~LinuxQuitSender() {
  watch_.end();
  // One that still waits would kill the process once it is let through, and whoever keeps the
  // program alive would take that for a crash; it has been asked to end anyway.
  signalfd_siginfo waiting{};
  while (read(descriptor_, &waiting, sizeof waiting) > 0) continue;
  if (descriptor_ >= 0) close(descriptor_);
  const sigset_t signals = quitSignals();
  pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

void LinuxQuitSender::blockSignals() {
  const sigset_t signals = quitSignals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

void LinuxQuitSender::readSignals() {
  signalfd_siginfo info{};
  while (read(descriptor_, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
    // The signal may have overtaken logind's announcement, so logind is asked before it is judged.
    logind_.refresh(lifetime_.guard([this, sender = describe(info)] { order(sender); }));
  }
}

void LinuxQuitSender::order(std::string sender) {
  QuitOrder order{"", false, std::move(sender)};
  if (logind_.shuttingDown()) {
    order.reason = "shut";
  } else if (logind_.closing()) {
    order.reason = "logo";
  }
  order.senderVerified = !order.reason.empty();
  listeners_.tell(order);
}

ServiceReport LinuxQuitSender::report() const {
  if (descriptor_ < 0) return {"quit sender", "signals", false, "no signal descriptor"};
  return {"quit sender", "signals", true,
          logind_.answers() ? "shutdown and logout told by logind"
                            : "every quit counts as a person's: " + logind_.describe()};
}

}  // namespace brindle
