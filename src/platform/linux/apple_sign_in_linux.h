#pragma once

#include <utility>

#include "platform/apple_sign_in.h"
#include "platform/awaited_end.h"

namespace brindle {

/// Apple offers its sign-in on its own systems only; this says so.
class LinuxAppleSignIn final : public AppleSignIn {
 public:
  explicit LinuxAppleSignIn(Scheduler& scheduler) : scheduler_(scheduler) {}

  bool available() const override { return false; }
  [[nodiscard]] Subscription begin(const std::string&,
                                   std::function<void(AppleSignInEnd)> done) override {
    Subscription waiting = end_.expect(std::move(done));
    end_.tell(scheduler_, {AppleSignInEnd::How::failed, {}, "not offered on this system"});
    return waiting;
  }
  ServiceReport report() const override {
    return {"Apple sign-in", "none", false, "Apple offers it on its own systems only"};
  }

 private:
  Scheduler& scheduler_;
  AwaitedEnd<AppleSignInEnd> end_;
};

}  // namespace brindle
