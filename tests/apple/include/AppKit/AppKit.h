#pragma once
#import <Foundation/Foundation.h>

#pragma clang assume_nonnull begin
@interface NSWorkspace : NSObject
@property(class, readonly, strong) NSWorkspace* sharedWorkspace;
@property(readonly, strong) NSNotificationCenter* notificationCenter;
@end
extern "C" {
extern NSNotificationName const NSWorkspaceSessionDidBecomeActiveNotification;
extern NSNotificationName const NSWorkspaceSessionDidResignActiveNotification;
extern NSNotificationName const NSWorkspaceScreensDidSleepNotification;
extern NSNotificationName const NSWorkspaceScreensDidWakeNotification;
extern NSNotificationName const NSWorkspaceWillSleepNotification;
extern NSNotificationName const NSWorkspaceDidWakeNotification;
extern NSNotificationName const NSWorkspaceWillPowerOffNotification;
}

typedef NS_ENUM(NSUInteger, NSApplicationTerminateReply) {
  NSTerminateCancel,
  NSTerminateNow,
  NSTerminateLater,
};
@class NSApplication;
// Optional to Apple; required here, because a misspelt one would never be called.
@protocol NSApplicationDelegate <NSObject>
@required
- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication*)sender;
@end
@interface NSApplication : NSObject
@property(class, readonly, strong) NSApplication* sharedApplication;
@property(nullable, weak) id<NSApplicationDelegate> delegate;
- (void)replyToApplicationShouldTerminate:(BOOL)shouldTerminate;
@end

@interface NSScreen : NSObject
@property(class, readonly, copy) NSArray<NSScreen*>* screens;
@property(class, nullable, readonly, strong) NSScreen* mainScreen;
@property(readonly) NSRect frame;
@property(readonly, copy) NSDictionary<NSString*, id>* deviceDescription;
@end
@interface NSColor : NSObject
@property(class, readonly, strong) NSColor* whiteColor;
@end

typedef NS_OPTIONS(NSUInteger, NSWindowStyleMask) { NSWindowStyleMaskBorderless = 0 };
typedef NS_ENUM(NSUInteger, NSBackingStoreType) { NSBackingStoreBuffered = 2 };
typedef NS_ENUM(NSInteger, NSWindowAnimationBehavior) { NSWindowAnimationBehaviorNone = 2 };
typedef NS_OPTIONS(NSUInteger, NSWindowCollectionBehavior) {
  NSWindowCollectionBehaviorCanJoinAllSpaces = 1 << 0,
  NSWindowCollectionBehaviorStationary = 1 << 4,
  NSWindowCollectionBehaviorIgnoresCycle = 1 << 6,
  NSWindowCollectionBehaviorFullScreenAuxiliary = 1 << 8,
};
typedef NSInteger NSWindowLevel;
static const NSWindowLevel NSScreenSaverWindowLevel = 1000;
@interface NSWindow : NSObject
- (instancetype)initWithContentRect:(NSRect)rect
                          styleMask:(NSWindowStyleMask)style
                            backing:(NSBackingStoreType)backing
                              defer:(BOOL)defer;
@property(getter=isReleasedWhenClosed) BOOL releasedWhenClosed;
@property NSWindowLevel level;
@property(getter=isOpaque) BOOL opaque;
@property(null_resettable, copy) NSColor* backgroundColor;
@property BOOL ignoresMouseEvents;
@property NSWindowAnimationBehavior animationBehavior;
@property NSWindowCollectionBehavior collectionBehavior;
- (void)orderFrontRegardless;
- (void)orderOut:(nullable id)sender;
@end
#pragma clang assume_nonnull end
