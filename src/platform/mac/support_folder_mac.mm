#import <Foundation/Foundation.h>

#include <cstdlib>

#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_names.h"
#include "platform/mac/mac_support.h"

namespace brindle {

std::string macSupportFolder() {
  NSArray<NSURL*>* folders =
      [NSFileManager.defaultManager URLsForDirectory:NSApplicationSupportDirectory
                                           inDomains:NSUserDomainMask];
  return mac::stringOf(folders.firstObject.path);
}

std::string macLibraryFolder() {
  NSArray<NSURL*>* folders = [NSFileManager.defaultManager URLsForDirectory:NSLibraryDirectory
                                                                  inDomains:NSUserDomainMask];
  const std::string path = mac::stringOf(folders.firstObject.path);
  const std::unique_ptr<char, void (*)(void*)> real(::realpath(path.c_str(), nullptr), std::free);
  return real ? std::string(real.get()) : path;
}

std::string macTemporaryFolder() { return mac::stringOf(NSTemporaryDirectory()); }

std::string macResourcesFolder() { return mac::stringOf(NSBundle.mainBundle.resourcePath); }

std::string macDistribution() {
  id said = [NSBundle.mainBundle objectForInfoDictionaryKey:mac::names::distribution];
  if (![said isKindOfClass:NSString.class]) return {};
  return mac::stringOf(static_cast<NSString*>(said));
}

}  // namespace brindle
