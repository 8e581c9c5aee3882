#pragma once

#include <list>
#include <string>

#include "platform/browser.h"
#include "platform/linux/dbus_service.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/main_loop.h"

namespace brindle {

/// Opens pages in the browser that the person chose: through the desktop's portal (OpenURI,
/// XDG Desktop Portal), else with xdg-open. Main thread only.
class LinuxBrowser final : public Browser {
 public:
  LinuxBrowser(MainLoop& loop, DbusLink& session, Log log);

  [[nodiscard]] Subscription open(const std::string& page, Failed failed) override;
  ServiceReport report() const override;
  /// How pages are opened; empty when they cannot be.
  std::string describe() const;

 private:
  struct Attempt;
  struct Child {
    pid_t id = 0;
    Descriptor descriptor;
    Subscription watch;
  };
  void askPortal(const std::shared_ptr<Attempt>& attempt);
  std::string requestPath(const std::string& token) const;
  void portalEnded(sdbus::Message& message);
  void start(const std::shared_ptr<Attempt>& attempt);
  void ended(std::list<Child>::iterator child, const std::weak_ptr<Attempt>& attempt);
  void fail(const std::weak_ptr<Attempt>& attempt, const std::string& problem);

  MainLoop& loop_;
  DbusService portal_;
  std::weak_ptr<Attempt> current_;
  static inline int asked_ = 0;  // of all together: they share the name that answers go to
  std::list<Child> children_;
  Subscription response_;
};

}  // namespace brindle
