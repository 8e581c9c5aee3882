#pragma once

#include "platform/process_activity.h"

namespace brindle {

class MemoryProcessActivity final : public ProcessActivity {
 public:
  [[nodiscard]] Subscription begin(const std::string&) override {
    ++running_;
    return Subscription([this] { --running_; });
  }
  ServiceReport report() const override {
    return {"process activity", "memory", true, "only counted"};
  }
  int running() const { return running_; }

 private:
  int running_ = 0;
};

}  // namespace brindle
