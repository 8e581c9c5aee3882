#import <Foundation/Foundation.h>

#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_support.h"

namespace brindle {
namespace {

class MacProcessActivity final : public ProcessActivity {
 public:
  Subscription begin(const std::string& reason) override {
    NSProcessInfo* process = NSProcessInfo.processInfo;
    // Without the bit that keeps an idle machine awake.
    id<NSObject> activity =
        [process beginActivityWithOptions:NSActivityUserInitiatedAllowingIdleSystemSleep
                                   reason:mac::plainText(reason)];
    return Subscription([process, activity] { [process endActivity:activity]; });
  }

  ServiceReport report() const override {
    return {"process activity", "NSProcessInfo", true,
            "timers are not held back while something is under way"};
  }
};

}  // namespace

std::unique_ptr<ProcessActivity> makeMacProcessActivity() {
  return std::make_unique<MacProcessActivity>();
}

}  // namespace brindle
