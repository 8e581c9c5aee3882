#import <AppKit/AppKit.h>

#include "platform/mac/mac_backends.h"

namespace brindle {
namespace {

/// Dock and menu bar have to be hidden for the others to be allowed. Ending the session is not
/// taken away: shutting the machine down is no way past the guard.
constexpr NSApplicationPresentationOptions keptIn =
    NSApplicationPresentationHideDock | NSApplicationPresentationHideMenuBar |
    NSApplicationPresentationDisableProcessSwitching | NSApplicationPresentationDisableForceQuit |
    NSApplicationPresentationDisableHideApplication;

void hold(NSWindow* window) {
  window.level = NSScreenSaverWindowLevel;
  window.collectionBehavior =
      NSWindowCollectionBehaviorCanJoinAllSpaces | NSWindowCollectionBehaviorStationary |
      NSWindowCollectionBehaviorIgnoresCycle | NSWindowCollectionBehaviorFullScreenAuxiliary;
  [window orderFrontRegardless];
}

}  // namespace

void holdMacCovers(std::span<const std::uintptr_t> views) {
  for (const std::uintptr_t handle : views) {
    NSView* view = (__bridge NSView*)reinterpret_cast<void*>(handle);
    hold(view.window);
  }
  NSApplication* application = NSApplication.sharedApplication;
  // They count while this application is the active one.
  if (!views.empty() && !application.active) [application activate];
  const auto wanted = views.empty() ? NSApplicationPresentationDefault : keptIn;
  if (application.presentationOptions != wanted) application.presentationOptions = wanted;
}

}  // namespace brindle
