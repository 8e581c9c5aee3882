#pragma once

#include <memory>
#include <utility>

#include "platform/push_registration.h"
#include "platform/scheduler.h"

namespace brindle {

/// Tokens and messages that a test hands out. Whoever listens is told at once which token there is,
/// or that there is none.
class MemoryPushRegistration final : public PushRegistration {
 public:
  explicit MemoryPushRegistration(Scheduler& scheduler) : scheduler_(scheduler) {}

  [[nodiscard]] Subscription listen(Listener listener) override {
    const auto owned = std::make_shared<std::unique_ptr<Listener>>(
        std::make_unique<Listener>(std::move(listener)));
    listener_ = owned;
    announce();
    return Subscription([owned] { owned->reset(); });
  }
  ServiceReport report() const override {
    return {"push", "memory", !token_.empty(), token_.empty() ? problem_ : "registered"};
  }

  void setToken(std::string token) {
    token_ = std::move(token);
    announce();
  }
  void setProblem(std::string problem) {
    token_.clear();
    problem_ = std::move(problem);
    announce();
  }
  void receive(Bytes message) {
    tell([message = std::move(message)](const Listener& told) { told.received(message); });
  }
  bool listening() const { return listener_ && *listener_; }

 private:
  void announce() {
    if (token_.empty()) {
      return tell([problem = problem_](const Listener& told) { told.notRegistered(problem); });
    }
    tell([token = token_](const Listener& told) { told.registered(token); });
  }
  void tell(std::function<void(const Listener&)> what) {
    if (!listening()) return;
    scheduler_.post([owned = listener_, what = std::move(what)] {
      if (!*owned) return;
      const Listener copy = **owned;  // it may end its own subscription
      what(copy);
    });
  }

  Scheduler& scheduler_;
  std::shared_ptr<std::unique_ptr<Listener>> listener_;
  std::string token_;
  std::string problem_ = "not available";
};

}  // namespace brindle
