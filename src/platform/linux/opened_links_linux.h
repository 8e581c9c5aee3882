#pragma once

#include "platform/linux/link_handler.h"
#include "platform/opened_links.h"
#include "platform/scheduler.h"

namespace brindle {

/// Links that the desktop hands to a second start of this program, which brings them here.
class LinuxOpenedLinks final : public OpenedLinks {
 public:
  LinuxOpenedLinks(Scheduler& scheduler, const LinkHandler& handler)
      : scheduler_(scheduler), handler_(handler) {}

  [[nodiscard]] Subscription onLink(std::function<void(const std::string&)> opened) override {
    return listeners_.add(std::move(opened));
  }
  bool registered(const std::string& scheme) const override { return handler_.registered(scheme); }
  ServiceReport report() const override {
    const bool installed = handler_.installed();
    return {"links", "desktop entry", installed,
            installed ? "the desktop hands links to this program"
                      : "no desktop entry of this program: sign-in uses a loopback address"};
  }

  /// What `open LINK` brought.
  void deliver(const std::string& link) {
    scheduler_.post([listeners = listeners_, link] { listeners.tell(link); });
  }

 private:
  Scheduler& scheduler_;
  const LinkHandler& handler_;
  Listeners<const std::string&> listeners_;
};

}  // namespace brindle
