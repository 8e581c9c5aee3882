#pragma once

#include <map>
#include <utility>

#include "platform/notifications.h"
#include "platform/scheduler.h"

namespace brindle {

/// Banners that nobody sees but the test.
class MemoryNotifications final : public Notifications {
 public:
  explicit MemoryNotifications(Scheduler& scheduler) : scheduler_(scheduler) {}

  void post(const LocalNotification& notification, std::function<void(bool)> done) override {
    if (!failing_) shown_.insert_or_assign(notification.id, notification);
    if (!done) return;
    scheduler_.post([done = std::move(done), shown = !failing_] { done(shown); });
  }
  void remove(const std::string& id) override { shown_.erase(id); }
  [[nodiscard]] Subscription onActivated(std::function<void(std::string)> activated) override {
    return listeners_.add(std::move(activated));
  }
  ServiceReport report() const override {
    return {"notifications", "memory", !failing_, failing_ ? "told to fail" : "kept in memory"};
  }

  void setFailing(bool failing) { failing_ = failing; }
  const std::map<std::string, LocalNotification>& shown() const { return shown_; }
  /// The owner clicks the banner; without such a banner nothing happens.
  void activate(const std::string& id) {
    if (!shown_.contains(id)) return;
    scheduler_.post([all = listeners_, id] { all.tell(id); });
  }

 private:
  Scheduler& scheduler_;
  Listeners<std::string> listeners_;
  std::map<std::string, LocalNotification> shown_;
  bool failing_ = false;
};

}  // namespace brindle
