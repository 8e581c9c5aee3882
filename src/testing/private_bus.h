#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "platform/linux/dbus_link.h"
#include "testing/child_process.h"
#include "testing/linux_loop.h"
#include "testing/recording_log.h"
#include "testing/temporary_folder.h"

namespace brindle {

/// A bus daemon of the test's own in place of the session's, and no system bus.
class PrivateBus {
 public:
  PrivateBus() {
    setenv("DBUS_SESSION_BUS_ADDRESS", address().c_str(), 1);
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1);
    setenv("XDG_DATA_DIRS", folder().c_str(), 1);
    start();
  }
  std::string address() const { return "unix:path=" + (folder_ / "bus"); }
  const std::string& folder() const { return folder_.path(); }
  void start() {
    daemon_ = readyProgram(folder(), "dbus-daemon --config-file=" BRINDLE_PEERS
                                     "/bus.conf --nofork --nopidfile --print-address=3 --address=" +
                                         address())
                  .first;
  }
  void stop() { daemon_.reset(); }

 private:
  TemporaryFolder folder_;
  std::unique_ptr<ChildProcess> daemon_;
};

/// A program on such a desktop.
template <class Loop>
struct DesktopOf {
  PrivateBus bus;
  RecordingLog lines;
  Loop scheduler;
  DbusLink system{scheduler, Log(lines), DbusBus::system};
  DbusLink session{scheduler, Log(lines), DbusBus::session};
  bool until(const std::function<bool()>& done) { return runUntil(scheduler, done); }
};
using Desktop = DesktopOf<LinuxScheduler>;

/// A service on a bus that answers from a thread of its own.
class Peer {
 public:
  Peer(const std::string& address, std::string name, const std::string& path)
      : connection_(sdbus::createSessionBusConnectionWithAddress(address)),
        object_(sdbus::createObject(*connection_, path)),
        name_(std::move(name)) {}
  virtual ~Peer() { end(); }
  void serve() {
    object_->finishRegistration();
    connection_->requestName(name_);
    thread_ = std::thread([this] {
      try {
        connection_->enterEventLoop();
      } catch (const sdbus::Error&) {
        // the bus ended, as one test wants it to
      }
    });
  }
  void leave() { connection_->releaseName(name_); }
  void comeBack() { connection_->requestName(name_); }
  sdbus::IConnection& connection() { return *connection_; }
  sdbus::IObject& object() { return *object_; }
  const std::string& name() const { return name_; }

 protected:
  /// For destructors of peers whose members a call could still reach.
  void end() {
    connection_->leaveEventLoop();
    if (thread_.joinable()) thread_.join();
  }

 private:
  std::unique_ptr<sdbus::IConnection> connection_;
  std::unique_ptr<sdbus::IObject> object_;
  std::string name_;
  std::thread thread_;
};

}  // namespace brindle
