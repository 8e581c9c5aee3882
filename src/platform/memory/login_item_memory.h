#pragma once

#include <utility>

#include "platform/login_item.h"

namespace brindle {

class MemoryLoginItem final : public LoginItem {
 public:
  Status status() const override { return status_; }
  Result<void, std::string> enable() override { return become(Status::enabled); }
  Result<void, std::string> disable() override { return become(Status::disabled); }
  ServiceReport report() const override {
    return {"login item", "memory", problem_.empty(),
            problem_.empty() ? "kept in memory" : problem_};
  }

  /// As a person does in the system's settings.
  void setStatus(Status status) { status_ = status; }
  /// While not empty, changes fail with this explanation.
  void setProblem(std::string problem) { problem_ = std::move(problem); }

 private:
  Result<void, std::string> become(Status next) {
    if (!problem_.empty()) return Failure<std::string>(problem_);
    status_ = next;
    return {};
  }

  Status status_ = Status::disabled;
  std::string problem_;
};

}  // namespace brindle
