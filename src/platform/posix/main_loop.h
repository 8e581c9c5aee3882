#pragma once

#include <cstdint>
#include <functional>

#include "base/subscription.h"
#include "platform/scheduler.h"

namespace brindle {

/// The main loop of a POSIX system: a scheduler that also waits for descriptors. Either `run` owns
/// the thread, or a window toolkit's own loop serves it.
class MainLoop : public Scheduler {
 public:
  using Ready = std::function<void(std::uint32_t events)>;

  /// Calls `ready` with what came up, POLLIN or POLLOUT of poll(2), and with errors and the other
  /// end's hanging up too, until the subscription ends; end it before the descriptor is closed.
  /// Level-triggered; a descriptor may be watched several times. Empty when it cannot be watched
  /// (an ordinary file). Main thread only.
  [[nodiscard]] virtual Subscription watch(int descriptor, std::uint32_t events, Ready ready) = 0;

  /// What a window toolkit watches, calling `processReady` whenever it is readable. Negative where
  /// the toolkit's loop is the system's own and serves this one anyway.
  virtual int fd() const = 0;
  /// Runs what is ready, one turn, without waiting. May be called from inside a task.
  virtual void processReady() = 0;
  /// Runs until `stop`.
  virtual void run() = 0;
  /// Any thread.
  virtual void stop() = 0;
};

}  // namespace brindle
