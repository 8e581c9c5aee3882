#import "platform/mac/sign_in_anchor_mac.h"

#import <AppKit/AppKit.h>

@implementation BrindleSignInAnchor {
  NSWindow* _window;
}
+ (BrindleSignInAnchor*)anchor {
  // Not `sharedApplication`, which would make an application of a plain program.
  NSApplication* application = NSApp;
  if (!application) return nil;
  BrindleSignInAnchor* made = [[BrindleSignInAnchor alloc] init];
  made->_window = application.keyWindow ?: application.mainWindow ?: [self emptyWindow];
  [application activate];
  return made;
}
+ (NSWindow*)emptyWindow {
  NSWindow* window = [[NSWindow alloc] initWithContentRect:NSScreen.mainScreen.frame
                                                 styleMask:NSWindowStyleMaskBorderless
                                                   backing:NSBackingStoreBuffered
                                                     defer:YES];
  window.releasedWhenClosed = NO;  // its only owner is the reference held here
  return window;
}
- (NSWindow*)presentationAnchorForWebAuthenticationSession:(ASWebAuthenticationSession*)session {
  return _window;
}
- (NSWindow*)presentationAnchorForAuthorizationController:(ASAuthorizationController*)controller {
  return _window;
}
@end
