// One fault at a time, chosen by FAULT; 0 has none. Shows that check_macos finds each kind.
#import <AVFoundation/AVFoundation.h>
#import <AppKit/AppKit.h>
#import <CoreGraphics/CoreGraphics.h>
#import <Security/Security.h>

#include "platform/mac/mac_backends.h"

@interface Delegate : NSObject <NSApplicationDelegate>
@end
@implementation Delegate
#if FAULT == 1  // a misspelt delegate method is never called
- (NSApplicationTerminateReply)applicationShouldTerminat:(NSApplication*)sender {
#else
- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication*)sender {
#endif
  return NSTerminateNow;
}
@end

@interface NSWindow (Newest)
- (void)newest SINCE_MACOS(15.0);
@end

void use(NSWindow* window, AVCaptureSession* session, AVCaptureDeviceInput* input) {
#if FAULT == 2  // no such selector
  [window orderFrontRegardless:nil];
#elif FAULT == 3  // not the kind of object that is wanted
  [session addOutput:input];
#elif FAULT == 4  // nothing where an object is needed
  [session addInput:nil];
#elif FAULT == 5  // an answer that must be looked at
  SecItemDelete((__bridge CFDictionaryRef) @{});
#elif FAULT == 6  // a Core Foundation object taken without its bridge
  NSDictionary* attributes = CGSessionCopyCurrentDictionary();
#elif FAULT == 7  // a Core Foundation object that nobody releases
  const CFTypeRef dictionary = CGSessionCopyCurrentDictionary();
  window.opaque = dictionary != nullptr;
#elif FAULT == 8  // newer than the oldest macOS that is supported
  [window newest];
#else
  [window orderFrontRegardless];
  [session addInput:input];
#endif
}

namespace brindle {
#if FAULT == 9  // an interface that is not implemented whole
class Nothing final : public FlashWindow {
  bool show() override { return false; }
};
std::unique_ptr<FlashWindow> make() { return std::make_unique<Nothing>(); }
#endif
}  // namespace brindle
