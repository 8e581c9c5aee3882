#pragma once

#include <utility>

#include "platform/quit_sender.h"
#include "platform/scheduler.h"

namespace brindle {

class MemoryQuitSender final : public QuitSender {
 public:
  explicit MemoryQuitSender(Scheduler& scheduler) : scheduler_(scheduler) {}

  [[nodiscard]] Subscription onQuitOrder(std::function<void(QuitOrder)> ordered) override {
    return listeners_.add(std::move(ordered));
  }
  ServiceReport report() const override {
    return {"quit sender", "memory", true, "driven by hand"};
  }

  void order(QuitOrder order) {
    scheduler_.post([all = listeners_, order = std::move(order)] { all.tell(order); });
  }

 private:
  Scheduler& scheduler_;
  Listeners<QuitOrder> listeners_;
};

}  // namespace brindle
