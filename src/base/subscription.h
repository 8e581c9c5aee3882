#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace brindle {

/// Holds a registration; ending or destroying it ends the registration, after which the registered
/// function cannot run any more. Main thread only.
class Subscription {
 public:
  Subscription() = default;
  explicit Subscription(std::function<void()> end) : end_(std::move(end)) {}
  Subscription(Subscription&& other) noexcept : end_(std::exchange(other.end_, nullptr)) {}
  Subscription& operator=(Subscription&& other) noexcept {
    if (this != &other) {
      this->end();
      end_ = std::exchange(other.end_, nullptr);
    }
    return *this;
  }
  ~Subscription() { end(); }

  void end() {
    if (auto end = std::exchange(end_, nullptr)) end();
  }
  explicit operator bool() const { return static_cast<bool>(end_); }

 private:
  std::function<void()> end_;
};

/// A list of listeners that may come and go while it is being told something.
template <class... Args>
class Listeners {
 public:
  using Listener = std::function<void(Args...)>;

  [[nodiscard]] Subscription add(Listener listener) {
    auto owned = std::make_shared<Listener>(std::move(listener));
    all_->push_back(owned);
    return Subscription([owned = std::move(owned)]() mutable {
      *owned = nullptr;
      owned.reset();
    });
  }
  void tell(Args... args) const {
    std::erase_if(*all_, [](const auto& weak) { return weak.expired(); });
    const auto snapshot = *all_;
    for (const auto& weak : snapshot) {
      // A copy of the function stays alive while it runs, even if it ends its own subscription.
      const auto listener = weak.lock();
      if (!listener || !*listener) continue;
      const Listener running = *listener;
      running(args...);
    }
  }
  bool empty() const {
    for (const auto& weak : *all_) {
      if (!weak.expired()) return false;
    }
    return true;
  }

 private:
  std::shared_ptr<std::vector<std::weak_ptr<Listener>>> all_ =
      std::make_shared<std::vector<std::weak_ptr<Listener>>>();
};

}  // namespace brindle
