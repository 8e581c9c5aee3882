#pragma once

#include <utility>

#include "platform/apple_sign_in.h"
#include "platform/awaited_end.h"

namespace brindle {

/// An Apple ID authorization that a test plays.
class MemoryAppleSignIn final : public AppleSignIn {
 public:
  explicit MemoryAppleSignIn(Scheduler& scheduler) : scheduler_(scheduler) {}

  bool available() const override { return available_; }
  [[nodiscard]] Subscription begin(const std::string& nonceHash,
                                   std::function<void(AppleSignInEnd)> done) override {
    cancel();
    nonceHash_ = nonceHash;
    auto subscription = end_.expect(std::move(done));
    if (!available_) fail("not offered here");
    return subscription;
  }
  ServiceReport report() const override {
    return {"Apple sign-in", "memory", available_,
            available_ ? "played by a test" : "not offered here"};
  }

  void authorize(const std::string& identityToken) {
    end({AppleSignInEnd::How::authorized, identityToken, ""});
  }
  void cancel() { end({AppleSignInEnd::How::cancelled, "", ""}); }
  void fail(const std::string& problem) { end({AppleSignInEnd::How::failed, "", problem}); }
  void setAvailable(bool available) { available_ = available; }
  bool waiting() const { return end_.waiting(); }
  const std::string& nonceHash() const { return nonceHash_; }  ///< of the last ask

 private:
  void end(AppleSignInEnd end) { end_.tell(scheduler_, std::move(end)); }

  Scheduler& scheduler_;
  AwaitedEnd<AppleSignInEnd> end_;
  bool available_ = true;
  std::string nonceHash_;
};

}  // namespace brindle
