#import <Network/Network.h>

#include <utility>

#include "platform/mac/mac_backends.h"

namespace brindle {
namespace {

/// Paths change several times while a network comes up; one call follows each burst.
constexpr Duration settle = std::chrono::seconds(1);

/// Shared, so that the monitor's block finds it gone.
struct PathState {
  explicit PathState(Scheduler& given) : scheduler(given) {}

  void changed(bool usable) {
    // The first one only says how things are.
    if (!std::exchange(seen, true) || !usable || wait.armed()) return;
    wait = scheduler.after(settle, [this] { listeners.tell(); });
  }

  Scheduler& scheduler;
  Listeners<> listeners;
  Timer wait;
  bool seen = false;
};

class MacNetworkPath final : public NetworkPath {
 public:
  explicit MacNetworkPath(Scheduler& scheduler) : state_(std::make_shared<PathState>(scheduler)) {
    const std::weak_ptr<PathState> weak = state_;
    nw_path_monitor_set_update_handler(monitor_, ^(nw_path_t path) {
      const auto state = weak.lock();
      if (state) state->changed(nw_path_get_status(path) == nw_path_status_satisfied);
    });
    nw_path_monitor_set_queue(monitor_, dispatch_get_main_queue());
    nw_path_monitor_start(monitor_);
  }
  ~MacNetworkPath() override { nw_path_monitor_cancel(monitor_); }

  Subscription onReturn(std::function<void()> returned) override {
    return state_->listeners.add(std::move(returned));
  }
  ServiceReport report() const override {
    return {"network path", "Network", true, "told of every new path"};
  }

 private:
  std::shared_ptr<PathState> state_;
  nw_path_monitor_t monitor_ = nw_path_monitor_create();
};

}  // namespace

std::unique_ptr<NetworkPath> makeMacNetworkPath(Scheduler& scheduler) {
  return std::make_unique<MacNetworkPath>(scheduler);
}

}  // namespace brindle
