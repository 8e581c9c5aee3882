#import <UserNotifications/UserNotifications.h>

#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_support.h"

namespace {
using Activated = brindle::Listeners<std::string>;
}

@interface BrindleNotificationDelegate : NSObject <UNUserNotificationCenterDelegate>
- (instancetype)initWithActivated:(std::weak_ptr<Activated>)activated;
@end

@implementation BrindleNotificationDelegate {
  std::weak_ptr<Activated> _activated;
}
- (instancetype)initWithActivated:(std::weak_ptr<Activated>)activated {
  if ((self = [super init])) _activated = std::move(activated);
  return self;
}
- (void)userNotificationCenter:(UNUserNotificationCenter*)center
       willPresentNotification:(UNNotification*)notification
         withCompletionHandler:(void (^)(UNNotificationPresentationOptions))completionHandler {
  // Otherwise a banner posted while one of our windows is in front is swallowed.
  completionHandler(UNNotificationPresentationOptionBanner | UNNotificationPresentationOptionList);
}
- (void)userNotificationCenter:(UNUserNotificationCenter*)center
    didReceiveNotificationResponse:(UNNotificationResponse*)response
             withCompletionHandler:(void (^)(void))completionHandler {
  if ([response.actionIdentifier isEqualToString:UNNotificationDefaultActionIdentifier]) {
    const std::weak_ptr<Activated> weak = _activated;
    brindle::mac::onMain(
        [weak, id = brindle::mac::stringOf(response.notification.request.identifier)] {
          if (const auto activated = weak.lock()) activated->tell(id);
        });
  }
  completionHandler();
}
@end

namespace brindle {
namespace {

/// Nothing outside an application bundle, where asking for the center ends the process.
UNUserNotificationCenter* centerOfBundle() {
  if (!NSBundle.mainBundle.bundleIdentifier) return nil;
  return UNUserNotificationCenter.currentNotificationCenter;
}

class MacNotifications final : public Notifications {
 public:
  MacNotifications() { center_.delegate = delegate_; }
  ~MacNotifications() override { center_.delegate = nil; }

  void post(const LocalNotification& notification, std::function<void(bool)> done) override {
    const auto answer = std::make_shared<std::function<void(bool)>>(std::move(done));
    if (!center_) return answerOnMain(answer, false);
    UNMutableNotificationContent* content = [[UNMutableNotificationContent alloc] init];
    content.title = mac::plainText(notification.title);
    content.body = mac::plainText(notification.body);
    UNNotificationRequest* request =
        [UNNotificationRequest requestWithIdentifier:mac::plainText(notification.id)
                                             content:content
                                             trigger:nil];
    UNUserNotificationCenter* center = center_;
    // Asks the person only the first time; from then on it answers what they chose.
    [center requestAuthorizationWithOptions:UNAuthorizationOptionAlert | UNAuthorizationOptionSound
                          completionHandler:^(BOOL granted, NSError*) {
                            if (!granted) return answerOnMain(answer, false);
                            [center addNotificationRequest:request
                                     withCompletionHandler:^(NSError* error) {
                                       answerOnMain(answer, error == nil);
                                     }];
                          }];
  }

  void remove(const std::string& id) override {
    NSArray<NSString*>* ids = @[ mac::plainText(id) ];
    [center_ removePendingNotificationRequestsWithIdentifiers:ids];
    [center_ removeDeliveredNotificationsWithIdentifiers:ids];
  }

  Subscription onActivated(std::function<void(std::string)> activated) override {
    return activated_->add(std::move(activated));
  }

  ServiceReport report() const override {
    return {"notifications", "UserNotifications", center_ != nil,
            center_ ? "the system shows them if the person allowed it"
                    : "not an application bundle: the system takes no notifications from it"};
  }

 private:
  static void answerOnMain(const std::shared_ptr<std::function<void(bool)>>& answer, bool shown) {
    mac::onMain([answer, shown] {
      if (*answer) (*answer)(shown);
    });
  }

  std::shared_ptr<Activated> activated_ = std::make_shared<Activated>();
  BrindleNotificationDelegate* delegate_ =  // the center holds it weakly
      [[BrindleNotificationDelegate alloc] initWithActivated:activated_];
  UNUserNotificationCenter* center_ = centerOfBundle();
};

}  // namespace

std::unique_ptr<Notifications> makeMacNotifications() {
  return std::make_unique<MacNotifications>();
}

}  // namespace brindle
