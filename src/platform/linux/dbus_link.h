#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include "base/log.h"
#include "base/subscription.h"
#include "platform/linux/scheduler_linux.h"

namespace sdbus {
class IConnection;
}

namespace brindle {

enum class DbusBus { system, session };

/// Where a bus is reached; empty when the environment names none. An installed program takes the
/// system bus at its fixed path only: whoever starts it must not be able to hand it another logind.
#ifdef BRINDLE_RELEASED_APP
inline constexpr bool systemBusFromEnvironment = false;
#else
inline constexpr bool systemBusFromEnvironment = true;
#endif
std::string dbusAddress(DbusBus bus, bool fromEnvironment = systemBusFromEnvironment);

/// One connection to a message bus, served by the main loop, and made anew with growing pauses when
/// the bus goes away. Main thread only; outlives everything that uses it.
class DbusLink {
 public:
  /// Tries to connect at once.
  DbusLink(LinuxScheduler& scheduler, Log log, DbusBus bus);
  ~DbusLink();
  DbusLink(const DbusLink&) = delete;
  DbusLink& operator=(const DbusLink&) = delete;

  /// Null while the bus is away.
  sdbus::IConnection* connection() const { return connection_.get(); }
  /// True after a new connection; false when it is lost, at once, so that everything made from it
  /// can be let go before it is taken down.
  [[nodiscard]] Subscription onConnection(std::function<void(bool)> changed) {
    return listeners_.add(std::move(changed));
  }
  /// To be called after something was sent: what is left to send or to wait for may have changed.
  void rearm();
  /// Serves the bus here and now until no counted call waits for its answer, or for `longest`.
  /// For the start, before the loop runs.
  void settle(std::chrono::milliseconds longest);
  void callBegan() { ++waiting_; }
  void callEnded() { --waiting_; }

  Scheduler& scheduler() const { return scheduler_; }
  std::string_view name() const { return bus_ == DbusBus::system ? "system" : "session"; }
  /// Why there is no connection; empty while there is one.
  const std::string& problem() const { return problem_; }

 private:
  void connect();
  void tryToConnect();
  bool process();
  void serve();
  void lost(const std::string& why);
  void retryLater();

  LinuxScheduler& scheduler_;
  Log log_;
  DbusBus bus_;
  std::unique_ptr<sdbus::IConnection> connection_;
  Listeners<bool> listeners_;
  std::string problem_;
  bool lossSaid_ = false;
  int waiting_ = 0;
  std::chrono::seconds pause_;
  std::uint32_t watched_ = 0;
  Subscription watch_;
  Timer timer_;
};

}  // namespace brindle
