#import <IOKit/pwr_mgt/IOPMLib.h>

#include <fmt/format.h>

#include <utility>

#include "platform/mac/mac_backends.h"
#include "platform/mac/server_calls_mac.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

constexpr auto patience = 2s;
/// Longer names are refused.
constexpr std::size_t longestName = 128;

/// One assertion, taken and given back on the queue of the calls.
struct Assertion {
  IOPMAssertionID id = kIOPMNullAssertionID;

  IOReturn take(const std::string& name) {
    NSString* shown = mac::plainText(name.substr(0, longestName));
    return IOPMAssertionCreateWithName(kIOPMAssertPreventUserIdleSystemSleep, kIOPMAssertionLevelOn,
                                       (__bridge CFStringRef)shown, &id);
  }
  void giveBack() {
    if (id != kIOPMNullAssertionID) IOPMAssertionRelease(std::exchange(id, kIOPMNullAssertionID));
  }
};

class MacPowerAssertions final : public PowerAssertions {
 public:
  explicit MacPowerAssertions(Scheduler& scheduler)
      : calls_(std::make_shared<mac::ServerCalls>(scheduler, "brindle.awake", patience)) {}

  Subscription hold(Kind kind, const std::string& name) override {
    // Nothing is held; `offers` and the report say so.
    if (kind != Kind::preventUserIdleSystemSleep) return Subscription([] {});
    const auto assertion = std::make_shared<Assertion>();
    const auto take = [assertion, name] {
      const IOReturn status = assertion->take(name);
      return status == kIOReturnSuccess ? std::string() : fmt::format("refused ({})", status);
    };
    calls_->ask<std::string>(take, "the system does not answer",
                             [problem = problem_](const std::string& why) { *problem = why; });
    // In this order, so that one which is granted late is given back as well.
    return Subscription(
        [calls = calls_, assertion] { calls->run([assertion] { assertion->giveBack(); }); });
  }

  bool offers(Kind kind) const override {
    return kind == Kind::preventUserIdleSystemSleep && problem_->empty();
  }

  ServiceReport report() const override {
    const std::string idle = problem_->empty() ? "idle sleep can be kept away"
                                               : "idle sleep cannot be kept away: " + *problem_;
    return {"power assertion", "IOKit", problem_->empty(),
            idle + "; the sleep of a closed lid cannot"};
  }

 private:
  std::shared_ptr<mac::ServerCalls> calls_;
  std::shared_ptr<std::string> problem_ = std::make_shared<std::string>();
};

}  // namespace

std::unique_ptr<PowerAssertions> makeMacPowerAssertions(Scheduler& scheduler) {
  return std::make_unique<MacPowerAssertions>(scheduler);
}

}  // namespace brindle
