#pragma once

#include <map>

#include "platform/running_apps.h"
#include "platform/scheduler.h"

namespace brindle {

/// Applications that a test starts and brings to the front.
class MemoryRunningApps final : public RunningApps {
 public:
  explicit MemoryRunningApps(Scheduler& scheduler) : scheduler_(scheduler) {}

  [[nodiscard]] Subscription observe(
      std::function<void(const std::string& id, What what)> changed) override {
    return listeners_.add(std::move(changed));
  }
  std::optional<std::string> frontmost() const override { return front_; }
  std::optional<AppIdentity> identify(const std::string& pathOrId) const override {
    for (const auto& [path, app] : installed) {
      if (path == pathOrId || app.id == pathOrId) return app;
    }
    return std::nullopt;
  }
  ServiceReport report() const override { return {"running apps", "memory", true, {}}; }

  bool observed() const { return !listeners_.empty(); }
  void launch(const std::string& id) { tell(id, What::launched); }
  void activate(const std::string& id) {
    front_ = id;
    tell(id, What::activated);
  }

  std::map<std::string, AppIdentity> installed;  ///< by path

 private:
  void tell(const std::string& id, What what) {
    scheduler_.post([this, id, what] { listeners_.tell(id, what); });
  }

  Scheduler& scheduler_;
  std::optional<std::string> front_;
  Listeners<const std::string&, What> listeners_;
};

}  // namespace brindle
