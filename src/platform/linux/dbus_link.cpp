#include "platform/linux/dbus_link.h"

#include <poll.h>
#include <sdbus-c++/sdbus-c++.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cstdlib>

#include "platform/posix/descriptor.h"

namespace brindle {

using namespace std::chrono_literals;

namespace {

constexpr auto firstPause = 1s;
// A machine without a bus is asked once a minute: well below one wake-up in five seconds.
constexpr auto longestPause = 60s;

std::string fromEnvironment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

// An attempt that fails inside the library leaks its connection object, so a socket that nobody
// listens at is never handed to it. Other kinds of address are.
bool answers(const std::string& address) {
  constexpr std::string_view kind = "unix:path=";
  if (!address.starts_with(kind) || address.find(';') != address.npos) return true;
  const std::string path = address.substr(kind.size(), address.find(',') - kind.size());
  sockaddr_un name{};
  if (path.size() >= sizeof name.sun_path) return false;
  name.sun_family = AF_UNIX;
  std::ranges::copy(path, name.sun_path);
  const Descriptor probe(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  return connect(probe.get(), reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0;
}

}  // namespace

std::string dbusAddress(DbusBus bus, bool environment) {
  if (bus == DbusBus::system) {
    const std::string named = environment ? fromEnvironment("DBUS_SYSTEM_BUS_ADDRESS") : "";
    return named.empty() ? "unix:path=/run/dbus/system_bus_socket" : named;
  }
  const std::string named = fromEnvironment("DBUS_SESSION_BUS_ADDRESS");
  if (!named.empty()) return named;
  const std::string runtime = fromEnvironment("XDG_RUNTIME_DIR");
  return runtime.empty() ? "" : "unix:path=" + runtime + "/bus";
}

DbusLink::DbusLink(LinuxScheduler& scheduler, Log log, DbusBus bus)
    : scheduler_(scheduler), log_(log), bus_(bus), pause_(firstPause) {
  tryToConnect();
}

DbusLink::~DbusLink() {
  if (connection_) listeners_.tell(false);
}

void DbusLink::connect() {
  const std::string address = dbusAddress(bus_);
  if (address.empty()) {
    problem_ = "no session bus address";
    return;
  }
  if (!answers(address)) {
    problem_ = "nobody listens at its address";
    return;
  }
  try {
    connection_ = sdbus::createSessionBusConnectionWithAddress(address);
    problem_.clear();
  } catch (const sdbus::Error& error) {
    problem_ = error.getMessage();
  }
}

void DbusLink::tryToConnect() {
  connect();
  if (!connection_) return retryLater();
  if (lossSaid_) log_.notice("%{public}s bus: connected", name());
  lossSaid_ = false;
  pause_ = firstPause;
  listeners_.tell(true);
  rearm();
}

void DbusLink::retryLater() {
  if (!std::exchange(lossSaid_, true)) {
    log_.notice("%{public}s bus: away (%{public}s), trying again", name(), problem_);
  }
  timer_ = scheduler_.after(pause_, [this] { tryToConnect(); });
  pause_ = std::min(pause_ * 2, std::chrono::seconds(longestPause));
}

void DbusLink::rearm() {
  if (!connection_) return;
  try {
    const auto poll = connection_->getEventLoopPollData();
    const auto events = static_cast<std::uint32_t>(poll.events);  // poll and epoll bits agree
    if (!watch_ || events != watched_) {
      watch_.end();
      watch_ = scheduler_.watch(poll.fd, events, [this](std::uint32_t) { serve(); });
      watched_ = events;
    }
    const auto wait = poll.getRelativeTimeout();
    timer_.cancel();
    if (wait) timer_ = scheduler_.after(*wait, [this] { serve(); });
  } catch (const sdbus::Error&) {
    // The connection is broken; serving it tells how.
    timer_ = scheduler_.after(0s, [this] { serve(); });
  }
}

bool DbusLink::process() {
  if (!connection_) return false;
  try {
    // Signals that arrive during a call wait inside the connection while its socket has nothing
    // more to read, so one turn works off everything.
    while (connection_->processPendingRequest()) {
    }
    return true;
  } catch (const sdbus::Error& error) {
    lost(error.getMessage());
    return false;
  }
}

void DbusLink::serve() {
  if (process()) rearm();
}

void DbusLink::lost(const std::string& why) {
  problem_ = why;
  watch_.end();
  timer_.cancel();
  const auto broken = std::move(connection_);  // still there while its users let go
  listeners_.tell(false);
  retryLater();
}

void DbusLink::settle(std::chrono::milliseconds longest) {
  const auto end = std::chrono::steady_clock::now() + longest;
  while (process() && waiting_ > 0) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        end - std::chrono::steady_clock::now());
    if (left <= 0ms) break;
    const auto data = connection_->getEventLoopPollData();
    pollfd descriptor{data.fd, data.events, 0};
    poll(&descriptor, 1, static_cast<int>(left.count()));
  }
  rearm();
}

}  // namespace brindle
