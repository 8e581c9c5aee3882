#pragma once

#include <memory>
#include <utility>

#include "platform/awaited_end.h"
#include "platform/web_sign_in.h"

namespace brindle {

/// A browser and a person that a test plays.
class MemoryWebSignIn final : public WebSignIn {
 public:
  explicit MemoryWebSignIn(Scheduler& scheduler) : scheduler_(scheduler) {}

  [[nodiscard]] Subscription begin(WebSignInAsk ask,
                                   std::function<void(WebSignInEnd)> done) override {
    cancel();
    redirectUri_ = ask.callbackScheme + ":" + ask.callbackPath;
    page_ = ask.page(redirectUri_);
    ++begun_;
    const auto patience =
        std::make_shared<Timer>(scheduler_.after(std::chrono::minutes(10), [this] { cancel(); }));
    return end_.expect(std::move(done), Subscription([patience] { patience->cancel(); }));
  }
  ServiceReport report() const override {
    return {"web sign-in", "memory", true, "played by a test"};
  }

  /// The person agreed: "code=…&state=…" comes back.
  void redirect(const std::string& query) {
    end({WebSignInEnd::How::redirected, redirectUri_ + "?" + query, redirectUri_, ""});
  }
  void cancel() { end({WebSignInEnd::How::cancelled, "", redirectUri_, ""}); }
  void fail(const std::string& problem) {
    end({WebSignInEnd::How::failed, "", redirectUri_, problem});
  }
  bool waiting() const { return end_.waiting(); }
  int begun() const { return begun_; }
  const std::string& page() const { return page_; }  ///< of the last ask
  const std::string& redirectUri() const { return redirectUri_; }

 private:
  void end(WebSignInEnd end) { end_.tell(scheduler_, std::move(end)); }

  Scheduler& scheduler_;
  AwaitedEnd<WebSignInEnd> end_;
  std::string page_;
  std::string redirectUri_;
  int begun_ = 0;
};

}  // namespace brindle
