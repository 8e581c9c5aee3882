#pragma once

#import <AppKit/AppKit.h>

#include <functional>
#include <memory>

#include "platform/push_registration.h"

namespace brindle::mac {

/// What AppKit tells its delegate. On the main thread; the first two while AppKit waits.
struct AppEvents {
  std::function<bool()> terminates;  ///< answers whether AppKit is to wait for a reply
  std::function<void()> launches;
  PushRegistration::Listener push;
};

}  // namespace brindle::mac

@interface BrindleAppDelegate : NSObject <NSApplicationDelegate>
- (nonnull instancetype)initWithEvents:(std::weak_ptr<brindle::mac::AppEvents>)events;
@end
