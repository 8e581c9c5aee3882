#import <AppKit/AppKit.h>

#include <utility>

#include "base/lifetime.h"
#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_support.h"
#include "platform/mac/quit_sender_mac.h"

namespace brindle {
namespace {

class MacPushRegistration final : public PushRegistration {
 public:
  explicit MacPushRegistration(MacQuitSender* application) : application_(application) {
    if (!application_) return;
    application_->listenForPush(
        {lifetime_.guard([this](const std::string& token) { registered(token); }),
         lifetime_.guard([this](const std::string& problem) { notRegistered(problem); }),
         lifetime_.guard([this](const Bytes& message) {
           tell([&](const Listener& listener) { listener.received(message); });
         })});
  }

  Subscription listen(Listener listener) override {
    listener_ = std::make_shared<Listener>(std::move(listener));
    if (application_) {
      [NSApplication.sharedApplication registerForRemoteNotifications];
    } else {
      mac::onMain(lifetime_.guard([this] { notRegistered("no windows: nothing is delivered"); }));
    }
    return Subscription([held = listener_]() mutable {
      *held = {};
      held.reset();
    });
  }

  ServiceReport report() const override {
    return {"push", "Apple Push Notification service", registered_,
            registered_ ? "the system gave a token" : problem_};
  }

 private:
  void registered(const std::string& token) {
    registered_ = true;
    tell([&](const Listener& listener) { listener.registered(token); });
  }
  void notRegistered(const std::string& problem) {
    registered_ = false;
    problem_ = problem;
    tell([&](const Listener& listener) { listener.notRegistered(problem); });
  }
  void tell(const std::function<void(const Listener&)>& what) {
    // A copy: it may end its own subscription.
    const Listener listener = listener_ ? *listener_ : Listener{};
    if (listener.registered) what(listener);
  }

  MacQuitSender* application_;
  std::shared_ptr<Listener> listener_;
  bool registered_ = false;
  std::string problem_ = "nobody has asked for a token";
  Lifetime lifetime_;
};

}  // namespace

std::unique_ptr<PushRegistration> makeMacPushRegistration(MacQuitSender* application) {
  return std::make_unique<MacPushRegistration>(application);
}

}  // namespace brindle
