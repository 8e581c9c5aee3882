#import "platform/mac/entitlement_mac.h"

#import <Security/Security.h>

#include "platform/mac/mac_support.h"

namespace brindle::mac {

id entitlement(NSString* name) {
  const CfOwned<SecTaskRef> task(SecTaskCreateFromSelf(nullptr));
  if (!task) return nil;
  return CFBridgingRelease(
      SecTaskCopyValueForEntitlement(task.get(), (__bridge CFStringRef)name, nullptr));
}

}  // namespace brindle::mac
