#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/lifetime.h"
#include "platform/linux/app_scopes.h"
#include "platform/linux/desktop_apps.h"
#include "platform/linux/process_look.h"
#include "platform/linux/x11_clients.h"
#include "platform/posix/main_loop.h"
#include "platform/running_apps.h"

namespace brindle {

/// Where the applications of a session can be seen.
struct RunningAppsPlaces {
  std::vector<std::string> applications;  ///< folders of desktop files
  std::string scopes;                     ///< folder of the units of applications
  std::string processes = "/proc";
  bool wayland = false;         ///< programs need not be on the X display
  std::string own = "brindle";  ///< what windows of this very process go by

  static RunningAppsPlaces ofThisSession();
};

/// Applications by their windows on an X display and by the units in which the desktop starts them;
/// where neither tells enough, by a look at the processes. Watches only while somebody observes.
class LinuxRunningApps final : public RunningApps {
 public:
  LinuxRunningApps(MainLoop& loop, RunningAppsPlaces places);

  [[nodiscard]] Subscription observe(
      std::function<void(const std::string& id, What what)> changed) override;
  std::optional<std::string> frontmost() const override;
  std::optional<AppIdentity> identify(const std::string& pathOrId) const override;
  ServiceReport report() const override;

 private:
  void start();
  void stopUnlessObserved();
  /// Whether every start shows without a look at the processes.
  bool startsShow() const;
  void lookIfNeeded();
  void displayLost();

  void windowChanged(const X11Client& client, What what);
  std::string idOf(const X11Client& client) const;
  std::string idOf(const RunningProgram& program) const;
  std::string idOfUnit(const std::string& unit) const;
  void tell(const std::string& id, What what);

  MainLoop& loop_;
  RunningAppsPlaces places_;
  mutable DesktopApps apps_;
  Listeners<const std::string&, What> listeners_;
  std::string front_;
  std::unique_ptr<X11Clients> windows_;
  std::unique_ptr<AppScopes> scopes_;
  std::unique_ptr<ProcessLook> look_;
  Lifetime lifetime_;
};

}  // namespace brindle
