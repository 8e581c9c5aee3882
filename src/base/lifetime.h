#pragma once

#include <memory>
#include <utility>

namespace brindle {

/// Guards completions that come from outside (camera, worker, network) and may outlive their owner.
/// Declare it as the owner's last member: once it is gone, guarded functions do nothing.
/// Main thread only: the guarded function must be called there.
class Lifetime {
 public:
  Lifetime() : alive_(std::make_shared<char>()) {}
  Lifetime(const Lifetime&) = delete;
  Lifetime& operator=(const Lifetime&) = delete;

  template <class F>
  auto guard(F task) const {
    return [weak = std::weak_ptr<char>(alive_), task = std::move(task)](auto&&... args) mutable {
      if (weak.lock()) task(std::forward<decltype(args)>(args)...);
    };
  }
  /// Drops everything guarded so far, for an owner that starts over.
  void renew() { alive_ = std::make_shared<char>(); }

 private:
  std::shared_ptr<char> alive_;
};

}  // namespace brindle
