#import "platform/mac/app_delegate_mac.h"

#include <fmt/format.h>

#include <string>
#include <utility>

#include "platform/mac/mac_support.h"

namespace {
using Push = brindle::PushRegistration::Listener;

std::string lowerCaseHex(NSData* data) {
  std::string text;
  for (const auto byte : brindle::mac::bytesOf(data)) text += fmt::format("{:02x}", byte);
  return text;
}

/// As JSON, in which it came; nothing when it cannot be said so.
NSData* jsonOf(NSDictionary<NSString*, id>* message) {
  if (![NSJSONSerialization isValidJSONObject:message]) return nil;
  return [NSJSONSerialization dataWithJSONObject:message options:0 error:nil];
}
}  // namespace

@implementation BrindleAppDelegate {
  std::weak_ptr<brindle::mac::AppEvents> _events;
}
- (instancetype)initWithEvents:(std::weak_ptr<brindle::mac::AppEvents>)events {
  if ((self = [super init])) _events = std::move(events);
  return self;
}
- (void)applicationWillFinishLaunching:(NSNotification*)notification {
  const auto events = _events.lock();
  if (events && events->launches) events->launches();
}
- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication*)sender {
  const auto events = _events.lock();
  const bool waits = events && events->terminates && events->terminates();
  return waits ? NSTerminateLater : NSTerminateNow;
}

/// To whoever listens when the main loop comes to it.
- (void)push:(std::function<void(const Push&)>)tell {
  brindle::mac::onMain([weak = _events, tell = std::move(tell)] {
    const auto events = weak.lock();
    const Push listener = events ? events->push : Push{};
    if (listener.registered) tell(listener);
  });
}
- (void)application:(NSApplication*)application
    didRegisterForRemoteNotificationsWithDeviceToken:(NSData*)token {
  [self push:[text = lowerCaseHex(token)](const Push& push) { push.registered(text); }];
}
- (void)application:(NSApplication*)application
    didFailToRegisterForRemoteNotificationsWithError:(NSError*)error {
  [self push:[problem = brindle::mac::describe(error)](const Push& push) {
    push.notRegistered(problem);
  }];
}
- (void)application:(NSApplication*)application
    didReceiveRemoteNotification:(NSDictionary<NSString*, id>*)message {
  NSData* json = jsonOf(message);
  if (!json) return;
  [self push:[bytes = brindle::mac::bytesOf(json)](const Push& push) { push.received(bytes); }];
}
@end
