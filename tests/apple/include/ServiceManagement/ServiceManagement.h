#pragma once
#import <Foundation/Foundation.h>

#pragma clang assume_nonnull begin
typedef NS_ENUM(NSInteger, SMAppServiceStatus) {
  SMAppServiceStatusNotRegistered,
  SMAppServiceStatusEnabled,
  SMAppServiceStatusRequiresApproval,
  SMAppServiceStatusNotFound,
};
enum {
  kSMErrorJobNotFound = 6,
  kSMErrorLaunchDeniedByUser = 11,
  kSMErrorAlreadyRegistered = 12,
};
extern "C" NSErrorDomain const SMAppServiceErrorDomain SINCE_MACOS(13.0);

SINCE_MACOS(13.0)
@interface SMAppService : NSObject
@property(class, readonly, strong) SMAppService* mainAppService;
- (BOOL)registerAndReturnError:(NSError* _Nullable* _Nullable)error RESULT_MATTERS;
- (BOOL)unregisterAndReturnError:(NSError* _Nullable* _Nullable)error RESULT_MATTERS;
@property(readonly) SMAppServiceStatus status;
@end
#pragma clang assume_nonnull end
