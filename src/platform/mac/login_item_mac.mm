#import <ServiceManagement/ServiceManagement.h>

#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_support.h"

namespace brindle {
namespace {

/// Registering what is registered, and removing what is not, is no failure of the wish.
bool isAlreadySo(NSError* error, NSInteger code) {
  return [error.domain isEqualToString:SMAppServiceErrorDomain] && error.code == code;
}

class MacLoginItem final : public LoginItem {
 public:
  Status status() const override {
    switch (SMAppService.mainAppService.status) {
      case SMAppServiceStatusEnabled:
        return Status::enabled;
      case SMAppServiceStatusRequiresApproval:
        return Status::needsApproval;
      case SMAppServiceStatusNotRegistered:
      case SMAppServiceStatusNotFound:  // also before the first registration
        return Status::disabled;
    }
    return Status::unknown;  // a value that this build does not know
  }

  Result<void, std::string> enable() override {
    NSError* error = nil;
    if ([SMAppService.mainAppService registerAndReturnError:&error]) return {};
    if (isAlreadySo(error, kSMErrorAlreadyRegistered)) return {};
    if (isAlreadySo(error, kSMErrorLaunchDeniedByUser)) {
      return Failure<std::string>("Brindle is switched off under Login Items in System Settings.");
    }
    return Failure<std::string>(mac::describe(error));
  }

  Result<void, std::string> disable() override {
    NSError* error = nil;
    if ([SMAppService.mainAppService unregisterAndReturnError:&error]) return {};
    if (isAlreadySo(error, kSMErrorJobNotFound)) return {};
    return Failure<std::string>(mac::describe(error));
  }

  ServiceReport report() const override {
    const Status now = status();
    return {"login item", "SMAppService", now != Status::unknown, textOf(now)};
  }

 private:
  static std::string textOf(Status status) {
    switch (status) {
      case Status::enabled:
        return "starts at login";
      case Status::disabled:
        return "does not start at login";
      case Status::needsApproval:
        return "switched off under Login Items in System Settings";
      case Status::unknown:
        break;
    }
    return "the system answers with a status that is not known";
  }
};

}  // namespace

std::unique_ptr<LoginItem> makeMacLoginItem() { return std::make_unique<MacLoginItem>(); }

}  // namespace brindle
