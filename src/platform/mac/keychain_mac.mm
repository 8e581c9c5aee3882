#import <Security/Security.h>

#include <fmt/format.h>

#include "platform/mac/entitlement_mac.h"
#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_names.h"
#include "platform/mac/mac_support.h"

namespace brindle {
namespace {

using Query = NSMutableDictionary<NSString*, id>;

NSString* key(CFStringRef name) { return (__bridge NSString*)name; }

/// Names one item in one keychain. Which keychain is always stated: left open, a query goes to both
/// and hides a missing entitlement.
Query* queryFor(KeychainStore store, const KeychainItem& item) {
  const bool dataProtection = store == KeychainStore::dataProtection;
  Query* query = [NSMutableDictionary dictionary];
  query[key(kSecClass)] = key(kSecClassGenericPassword);
  query[key(kSecAttrService)] = mac::plainText(item.service);
  query[key(kSecAttrAccount)] = mac::plainText(item.account);
  query[key(kSecUseDataProtectionKeychain)] = dataProtection ? @YES : @NO;
  return query;
}

/// The value, and who may read it when. The legacy keychain has no accessibility classes.
void putValue(Query* into, KeychainStore store, NSData* data) {
  into[key(kSecValueData)] = data;
  if (store == KeychainStore::dataProtection) {
    into[key(kSecAttrAccessible)] = key(kSecAttrAccessibleWhenUnlockedThisDeviceOnly);
  }
}

std::string messageOf(OSStatus status) {
  NSString* text = CFBridgingRelease(SecCopyErrorMessageString(status, nullptr));
  return fmt::format("{} ({})", mac::stringOf(text), status);
}

class MacKeychain final : public Keychain {
 public:
  KeychainRead read(KeychainStore store, const KeychainItem& item) override {
    Query* query = queryFor(store, item);
    query[key(kSecReturnData)] = @YES;
    query[key(kSecMatchLimit)] = key(kSecMatchLimitOne);
    mac::CfOwned<CFTypeRef> found;
    const OSStatus status = SecItemCopyMatching((__bridge CFDictionaryRef)query, found.out());
    KeychainRead result{status, {}};
    if (status != errSecSuccess || !found) return result;
    id value = (__bridge id)found.get();
    if ([value isKindOfClass:NSData.class]) result.data = mac::bytesOf(value);
    return result;
  }

  int write(KeychainStore store, const KeychainItem& item, ByteView data) override {
    NSData* value = mac::dataOf(data);
    Query* attributes = queryFor(store, item);
    putValue(attributes, store, value);
    const OSStatus added = SecItemAdd((__bridge CFDictionaryRef)attributes, nullptr);
    if (added != errSecDuplicateItem) return added;
    Query* update = [NSMutableDictionary dictionary];
    putValue(update, store, value);
    return SecItemUpdate((__bridge CFDictionaryRef)queryFor(store, item),
                         (__bridge CFDictionaryRef)update);
  }

  int remove(KeychainStore store, const KeychainItem& item) override {
    return SecItemDelete((__bridge CFDictionaryRef)queryFor(store, item));
  }

  bool provisioned() override {
    id groups = mac::entitlement(mac::names::keychainAccessGroups);
    const bool grouped =
        [groups isKindOfClass:NSArray.class] && static_cast<NSArray<NSString*>*>(groups).count > 0;
    return grouped && mac::entitlement(mac::names::applicationIdentifier) &&
           mac::entitlement(mac::names::teamIdentifier);
  }

  // Without the entitlement a read may answer "not found", so that only adding an item tells.
  ServiceReport report() override {
    const bool own = provisioned();
    const auto store = own ? KeychainStore::dataProtection : KeychainStore::legacy;
    const KeychainItem probe{"brindle.probe", "doctor"};
    const int written = write(store, probe, ByteView{});
    const int removed = written == errSecSuccess ? remove(store, probe) : written;
    const bool answered = removed == errSecSuccess;
    return {"keychain", own ? "data-protection keychain" : "legacy keychain", answered,
            answered ? "an item was added and deleted" : messageOf(removed)};
  }
};

}  // namespace

std::unique_ptr<Keychain> makeMacKeychain() { return std::make_unique<MacKeychain>(); }

}  // namespace brindle
