#pragma once

#include "platform/network_path.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/main_loop.h"

namespace brindle {

/// The kernel's own announcements of routes, rtnetlink(7): every network manager's work shows
/// there, and nothing has to be asked.
class LinuxNetworkPath final : public NetworkPath {
 public:
  /// Routes come in bursts; one call follows each burst.
  static constexpr Duration settle = std::chrono::seconds(1);

  explicit LinuxNetworkPath(MainLoop& loop);

  [[nodiscard]] Subscription onReturn(std::function<void()> returned) override {
    return listeners_.add(std::move(returned));
  }
  ServiceReport report() const override;

 private:
  void read();

  MainLoop& loop_;
  Descriptor socket_;
  Subscription watch_;
  Timer settle_;
  Listeners<> listeners_;
};

}  // namespace brindle
