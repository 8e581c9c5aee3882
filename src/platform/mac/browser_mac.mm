#import <AppKit/AppKit.h>

#include "platform/awaited_end.h"
#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_support.h"

namespace brindle {
namespace {

class MacBrowser final : public Browser {
 public:
  explicit MacBrowser(Scheduler& scheduler) : scheduler_(scheduler) {}

  Subscription open(const std::string& page, Failed failed) override {
    Subscription waiting = end_.expect(std::move(failed));
    NSURL* url = [NSURL URLWithString:mac::plainText(page)];
    if (url == nil || ![NSWorkspace.sharedWorkspace openURL:url]) {
      end_.tell(scheduler_, "no application opens this page");
    }
    return waiting;
  }
  ServiceReport report() const override {
    return {"browser", "Launch Services", true, "the default browser"};
  }

 private:
  Scheduler& scheduler_;
  AwaitedEnd<std::string> end_;
};

}  // namespace

std::unique_ptr<Browser> makeMacBrowser(Scheduler& scheduler) {
  return std::make_unique<MacBrowser>(scheduler);
}

}  // namespace brindle
