#pragma once

#include <mutex>
#include <random>

#include "platform/random.h"

namespace brindle {

/// The same bytes for the same seed. Any thread.
class MemoryRandom final : public Random {
 public:
  explicit MemoryRandom(std::uint64_t seed = 1) : engine_(seed) {}

  [[nodiscard]] bool fill(std::span<std::uint8_t> bytes) override {
    const std::lock_guard lock(mutex_);
    if (failing_) return false;
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(engine_() >> 56);
    return true;
  }
  ServiceReport report() const override {
    const std::lock_guard lock(mutex_);
    return {"random", "memory", !failing_, failing_ ? "told to fail" : "seeded"};
  }

  void setFailing(bool failing) {
    const std::lock_guard lock(mutex_);
    failing_ = failing;
  }

 private:
  mutable std::mutex mutex_;
  std::mt19937_64 engine_;
  bool failing_ = false;
};

}  // namespace brindle
