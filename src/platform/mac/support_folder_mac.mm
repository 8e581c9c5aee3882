#import <Foundation/Foundation.h>

#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_support.h"

namespace brindle {

std::string macSupportFolder() {
  NSArray<NSURL*>* folders =
      [NSFileManager.defaultManager URLsForDirectory:NSApplicationSupportDirectory
                                           inDomains:NSUserDomainMask];
  return mac::stringOf(folders.firstObject.path);
}

std::string macTemporaryFolder() { return mac::stringOf(NSTemporaryDirectory()); }

}  // namespace brindle
