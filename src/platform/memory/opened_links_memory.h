#pragma once

#include <set>
#include <utility>

#include "platform/opened_links.h"
#include "platform/scheduler.h"

namespace brindle {

/// Links that are opened by hand.
class MemoryOpenedLinks final : public OpenedLinks {
 public:
  explicit MemoryOpenedLinks(Scheduler& scheduler) : scheduler_(scheduler) {}

  [[nodiscard]] Subscription onLink(std::function<void(const std::string&)> opened) override {
    return listeners_.add(std::move(opened));
  }
  bool registered(const std::string& scheme) const override { return schemes_.contains(scheme); }
  ServiceReport report() const override { return {"links", "memory", true, "opened by hand"}; }

  void setRegistered(const std::string& scheme, bool registered = true) {
    if (registered) schemes_.insert(scheme);
    if (!registered) schemes_.erase(scheme);
  }
  void open(const std::string& link) {
    scheduler_.post([listeners = listeners_, link] { listeners.tell(link); });
  }

 private:
  Scheduler& scheduler_;
  Listeners<const std::string&> listeners_;
  std::set<std::string> schemes_;
};

}  // namespace brindle
