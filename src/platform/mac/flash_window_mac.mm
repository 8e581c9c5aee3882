#import <AppKit/AppKit.h>
#import <CoreGraphics/CoreGraphics.h>

#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_names.h"

namespace brindle {
namespace {

bool isBuiltIn(NSScreen* screen) {
  id number = screen.deviceDescription[mac::names::screenNumber];
  if (![number isKindOfClass:NSNumber.class]) return false;
  return CGDisplayIsBuiltin(static_cast<NSNumber*>(number).unsignedIntValue) != 0;
}

/// The built-in display, else the main one; nothing on a machine without screens.
NSScreen* screenToLight() {
  for (NSScreen* screen in NSScreen.screens) {
    if (isBuiltIn(screen)) return screen;
  }
  return NSScreen.mainScreen;
}

NSWindow* makeWindow(NSScreen* screen) {
  NSWindow* window = [[NSWindow alloc] initWithContentRect:screen.frame
                                                 styleMask:NSWindowStyleMaskBorderless
                                                   backing:NSBackingStoreBuffered
                                                     defer:NO];
  window.releasedWhenClosed = NO;  // its only owner is the reference held here
  window.level = NSScreenSaverWindowLevel;
  window.opaque = YES;
  window.backgroundColor = NSColor.whiteColor;
  window.ignoresMouseEvents = YES;
  window.animationBehavior = NSWindowAnimationBehaviorNone;
  window.collectionBehavior =
      NSWindowCollectionBehaviorCanJoinAllSpaces | NSWindowCollectionBehaviorStationary |
      NSWindowCollectionBehaviorIgnoresCycle | NSWindowCollectionBehaviorFullScreenAuxiliary;
  return window;
}

class MacFlashWindow final : public FlashWindow {
 public:
  ~MacFlashWindow() override { hide(); }

  bool show() override {
    if (window_) return true;
    NSScreen* screen = screenToLight();
    if (!screen) return false;
    window_ = makeWindow(screen);
    [window_ orderFrontRegardless];  // in front without making the application active
    return true;
  }

  void hide() override {
    [window_ orderOut:nil];
    window_ = nil;
  }

  ServiceReport report() const override {
    NSScreen* screen = screenToLight();
    if (!screen) return {"flash window", "AppKit", false, "no screen"};
    return {"flash window", "AppKit", true,
            isBuiltIn(screen) ? "lights the built-in display" : "lights the main display"};
  }

 private:
  NSWindow* window_ = nil;
};

}  // namespace

std::unique_ptr<FlashWindow> makeMacFlashWindow() { return std::make_unique<MacFlashWindow>(); }

}  // namespace brindle
