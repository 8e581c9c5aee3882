#import <CoreGraphics/CoreGraphics.h>

#include <utility>

#include "platform/mac/mac_backends.h"
#include "platform/mac/server_calls_mac.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

/// The answer is due within a second.
constexpr auto patience = 900ms;

std::optional<Duration> sinceLastInput() {
  const CFTimeInterval seconds = CGEventSourceSecondsSinceLastEventType(
      kCGEventSourceStateCombinedSessionState, kCGAnyInputEventType);
  if (!(seconds >= 0)) return std::nullopt;
  return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(seconds));
}

class MacIdleTime final : public IdleTime {
 public:
  explicit MacIdleTime(Scheduler& scheduler) : calls_(scheduler, "brindle.idle", patience) {}

  void read(std::function<void(std::optional<Duration>)> done) override {
    using Idle = std::optional<Duration>;
    const auto ask = [there = inSession_] { return there ? sinceLastInput() : std::nullopt; };
    calls_.ask<Idle>(ask, std::nullopt, [this, done = std::move(done)](const Idle& idle) {
      answers_ = idle.has_value();
      done(idle);
    });
  }
  bool available() const override { return inSession_; }
  /// A process neither leaves its session nor enters another.
  Subscription onAvailable(std::function<void()> changed) override {
    return changes_.add(std::move(changed));
  }

  ServiceReport report() const override {
    const char* detail = !inSession_ ? "no login session with a screen"
                         : answers_  ? "of keyboard, mouse and all else of this session"
                                     : "the window server does not answer";
    return {"idle time", "CoreGraphics", inSession_ && answers_, detail};
  }

 private:
  static bool loggedIn() {
    return mac::CfOwned<CFDictionaryRef>(CGSessionCopyCurrentDictionary()).get() != nullptr;
  }

  mac::ServerCalls calls_;
  const bool inSession_ = loggedIn();
  bool answers_ = true;
  Listeners<> changes_;
};

}  // namespace

std::unique_ptr<IdleTime> makeMacIdleTime(Scheduler& scheduler) {
  return std::make_unique<MacIdleTime>(scheduler);
}

}  // namespace brindle
