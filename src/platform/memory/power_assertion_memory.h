#pragma once

#include <map>
#include <memory>
#include <string>

#include "platform/power_assertion.h"

namespace brindle {

/// Counts what is held.
class MemoryPowerAssertions final : public PowerAssertions {
 public:
  [[nodiscard]] Subscription hold(Kind kind, const std::string& name) override {
    ++(*held_)[kind];
    lastName_ = name;
    return Subscription([held = held_, kind] { --(*held)[kind]; });
  }
  bool offers(Kind) const override { return true; }
  ServiceReport report() const override { return {"power assertion", "memory", true, {}}; }

  int held(Kind kind) const { return (*held_)[kind]; }
  const std::string& lastName() const { return lastName_; }

 private:
  std::shared_ptr<std::map<Kind, int>> held_ = std::make_shared<std::map<Kind, int>>();
  std::string lastName_;
};

}  // namespace brindle
