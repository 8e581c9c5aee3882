#pragma once

#include <functional>
#include <map>
#include <string>

#include "base/lifetime.h"
#include "base/log.h"
#include "base/subscription.h"
#include "platform/files.h"
#include "platform/linux/dbus_service.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/main_loop.h"

namespace brindle {

/// Sees to it that brindle-courier runs while a spool has work: as a unit of the user's service
/// manager, which outlives the end of our session's own group of processes, else as a process with
/// a session of its own. One for a spool, shared by its sessions; outlives them. Main thread only.
class CourierLauncher {
 public:
  /// `manager` is org.freedesktop.systemd1 on the session bus; null where there is no such bus.
  CourierLauncher(MainLoop& loop, Files& files, std::string spool, std::string program,
                  DbusService* manager, Log log);
  CourierLauncher(const CourierLauncher&) = delete;
  CourierLauncher& operator=(const CourierLauncher&) = delete;

  /// There is work. While there is, this goes on looking slowly that someone does it, and tells
  /// `onLook` each time.
  void need();
  /// A result came: whichever courier was started has been there, and may be gone again.
  void shown() { attempts_ = 0; }
  [[nodiscard]] Subscription onLook(std::function<void()> look) {
    return listeners_.add(std::move(look));
  }

  MainLoop& loop() const { return loop_; }
  const std::string& spool() const { return spool_; }
  /// How a courier would be started now.
  std::string means() const;

 private:
  void look();
  void start();
  void startUnit();
  void spawn();
  void reap(int child);

  MainLoop& loop_;
  Files& files_;
  std::string spool_;
  std::string program_;
  DbusService* manager_;
  Log log_;
  int attempts_ = 0;  ///< without a courier having shown itself
  Timer check_;
  Listeners<> listeners_;
  struct Child {
    Descriptor process;
    Subscription ended;
  };
  std::map<int, Child> children_;
  Lifetime lifetime_;
};

}  // namespace brindle
