#pragma once

#import <Foundation/Foundation.h>

// Names that macOS knows only as text, so that no compiler checks them. Each says where it comes
// from.

namespace brindle::mac::names {

/// Our own: subsystem of the unified log and identifier of the application bundle.
inline constexpr const char* subsystem = "com.corvane.brindle";

// Distributed notifications of the login window. Apple does not document them; they have kept their
// names since Mac OS X 10.7.
inline NSString* const screenIsLocked = @"com.apple.screenIsLocked";
inline NSString* const screenIsUnlocked = @"com.apple.screenIsUnlocked";

// Keys of CGSessionCopyCurrentDictionary. The first is the value of kCGSessionOnConsoleKey
// (CGSession.h), with the double S; the second is undocumented and absent while unlocked.
inline NSString* const sessionOnConsole = @"kCGSSessionOnConsoleKey";
inline NSString* const sessionScreenIsLocked = @"CGSSessionScreenIsLocked";

// Entitlements (Apple: "Keychain Access Groups Entitlement" and the two that a provisioning profile
// writes beside it).
inline NSString* const keychainAccessGroups = @"keychain-access-groups";
inline NSString* const applicationIdentifier = @"com.apple.application-identifier";
inline NSString* const teamIdentifier = @"com.apple.developer.team-identifier";
// Apple: "Sign in with Apple Entitlement".
inline NSString* const appleSignIn = @"com.apple.developer.applesignin";

/// The attribute of a document that Launch Services dates whenever somebody opens it; its ending
/// says how it is copied (xattr_name_with_flags(3)). Apple does not document it.
inline constexpr const char* lastUsedDate = "com.apple.lastuseddate#PS";

// Keys of an application's Info.plist (Apple: "Bundle Resources"), the name for a person first.
inline NSString* const bundleDisplayName = @"CFBundleDisplayName";
inline NSString* const bundleName = @"CFBundleName";

/// Our own, in the bundle's Info.plist.
inline NSString* const distribution = @"BrindleDistribution";

/// Property of the kernel's root power domain (IOPM.h: kAppleClamshellStateKey); true while the lid
/// is closed, absent on a machine without one.
inline NSString* const clamshellState = @"AppleClamshellState";

/// Key of -[NSScreen deviceDescription] (NSScreen.h); its number is the display's identifier.
inline NSString* const screenNumber = @"NSScreenNumber";

/// Requirement language: the login window as Apple signs it.
inline NSString* const loginWindowRequirement =
    @"identifier \"com.apple.loginwindow\" and anchor apple";

}  // namespace brindle::mac::names
