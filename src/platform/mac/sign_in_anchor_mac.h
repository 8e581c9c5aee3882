#pragma once

#import <AuthenticationServices/AuthenticationServices.h>

/// The window in front of which the system asks a person to sign in: the one they are using, else
/// an empty one. Whoever shows it keeps it.
@interface BrindleSignInAnchor : NSObject <ASWebAuthenticationPresentationContextProviding,
                                           ASAuthorizationControllerPresentationContextProviding>
/// Nothing in a program without windows, in which there is nothing to ask in front of.
+ (nullable BrindleSignInAnchor*)anchor;
@end
