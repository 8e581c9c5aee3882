#import <AppKit/AppKit.h>
#import <CoreGraphics/CoreGraphics.h>

#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_names.h"
#include "platform/mac/mac_support.h"

/// Receives distributed notifications. An object and not a block, because only this form of the
/// registration can ask for delivery while the application is not the active one, which it hardly
/// ever is.
@interface BrindleNoticeObserver : NSObject
- (instancetype)initWithListener:(std::weak_ptr<std::function<void()>>)listener;
- (void)seen:(NSNotification*)notification;
@end

@implementation BrindleNoticeObserver {
  std::weak_ptr<std::function<void()>> _listener;
}
- (instancetype)initWithListener:(std::weak_ptr<std::function<void()>>)listener {
  if ((self = [super init])) _listener = std::move(listener);
  return self;
}
- (void)seen:(NSNotification*)notification {
  // The thread of delivery is not promised anywhere, so it is made certain here.
  const std::weak_ptr<std::function<void()>> weak = _listener;
  brindle::mac::onMain([weak] {
    if (const auto listener = weak.lock()) (*listener)();
  });
}
@end

namespace brindle {
namespace {

using Listener = std::shared_ptr<std::function<void()>>;

/// The name under which a center announces a notice; nothing for those of the other center.
NSString* distributedName(SystemNotice notice) {
  switch (notice) {
    case SystemNotice::screenLocked:
      return mac::names::screenIsLocked;
    case SystemNotice::screenUnlocked:
      return mac::names::screenIsUnlocked;
    case SystemNotice::sessionBecameActive:
    case SystemNotice::sessionResignedActive:
    case SystemNotice::screensDidWake:
    case SystemNotice::screensDidSleep:
    case SystemNotice::willSleep:
    case SystemNotice::willPowerOff:
    case SystemNotice::didWake:
      break;
  }
  return nil;
}

NSString* workspaceName(SystemNotice notice) {
  switch (notice) {
    case SystemNotice::sessionBecameActive:
      return NSWorkspaceSessionDidBecomeActiveNotification;
    case SystemNotice::sessionResignedActive:
      return NSWorkspaceSessionDidResignActiveNotification;
    case SystemNotice::screensDidWake:
      return NSWorkspaceScreensDidWakeNotification;
    case SystemNotice::screensDidSleep:
      return NSWorkspaceScreensDidSleepNotification;
    case SystemNotice::willSleep:
      return NSWorkspaceWillSleepNotification;
    case SystemNotice::willPowerOff:
      return NSWorkspaceWillPowerOffNotification;
    case SystemNotice::didWake:
      return NSWorkspaceDidWakeNotification;
    case SystemNotice::screenLocked:
    case SystemNotice::screenUnlocked:
      break;
  }
  return nil;
}

class DistributedCenter final : public NoticeCenter {
 public:
  Subscription observe(SystemNotice notice, std::function<void()> observer) override {
    NSString* name = distributedName(notice);
    if (!name) return {};
    Listener listener = std::make_shared<std::function<void()>>(std::move(observer));
    BrindleNoticeObserver* receiver = [[BrindleNoticeObserver alloc] initWithListener:listener];
    NSDistributedNotificationCenter* center = NSDistributedNotificationCenter.defaultCenter;
    [center addObserver:receiver
                  selector:@selector(seen:)
                      name:name
                    object:nil
        suspensionBehavior:NSNotificationSuspensionBehaviorDeliverImmediately];
    return Subscription([listener = std::move(listener), receiver, center, name]() mutable {
      [center removeObserver:receiver name:name object:nil];
      listener.reset();
    });
  }
};

class WorkspaceCenter final : public NoticeCenter {
 public:
  Subscription observe(SystemNotice notice, std::function<void()> observer) override {
    NSString* name = workspaceName(notice);
    if (!name) return {};
    Listener listener = std::make_shared<std::function<void()>>(std::move(observer));
    const std::weak_ptr<std::function<void()>> weak = listener;
    // Not the default center: the workspace's notifications arrive only at its own.
    NSNotificationCenter* center = NSWorkspace.sharedWorkspace.notificationCenter;
    id<NSObject> token = [center addObserverForName:name
                                             object:nil
                                              queue:NSOperationQueue.mainQueue
                                         usingBlock:^(NSNotification*) {
                                           if (const auto alive = weak.lock()) (*alive)();
                                         }];
    return Subscription([listener = std::move(listener), token, center]() mutable {
      [center removeObserver:token];
      listener.reset();
    });
  }
};

/// Nothing outside a graphical login session.
NSDictionary<NSString*, id>* sessionDictionary() {
  return CFBridgingRelease(CGSessionCopyCurrentDictionary());
}

std::optional<bool> truth(NSDictionary<NSString*, id>* session, NSString* key) {
  id value = session[key];
  if (![value isKindOfClass:NSNumber.class]) return std::nullopt;
  return static_cast<NSNumber*>(value).boolValue ? true : false;
}

class MacScreenLock final : public ScreenLock {
 public:
  NoticeCenter& distributed() override { return distributed_; }
  NoticeCenter& workspace() override { return workspace_; }

  bool screenLocked() const override {
    NSDictionary<NSString*, id>* session = sessionDictionary();
    const bool awayFromConsole = truth(session, mac::names::sessionOnConsole) == false;
    return awayFromConsole || truth(session, mac::names::sessionScreenIsLocked) == true;
  }

  bool displayAsleep() const override { return CGDisplayIsAsleep(CGMainDisplayID()) != 0; }

  bool reachable() const override { return sessionDictionary() != nil; }

  // A process is born into its session and stays there: it never changes.
  Subscription onReachable(std::function<void(bool)>) override {
    return Subscription([] {});
  }

  ServiceReport report() const override {
    const bool inSession = reachable();
    return {"screen lock", "login window and workspace", inSession,
            inSession ? "this process belongs to a graphical login session"
                      : "no graphical login session: nothing announces locking and unlocking"};
  }

 private:
  DistributedCenter distributed_;
  WorkspaceCenter workspace_;
};

}  // namespace

std::unique_ptr<ScreenLock> makeMacScreenLock() { return std::make_unique<MacScreenLock>(); }

}  // namespace brindle
