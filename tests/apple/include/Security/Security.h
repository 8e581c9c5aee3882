#pragma once
#include <CoreFoundation/CoreFoundation.h>

extern "C" {
#pragma clang assume_nonnull begin
enum : OSStatus { errSecSuccess = 0, errSecDuplicateItem = -25299 };
CFStringRef _Nullable SecCopyErrorMessageString(OSStatus status,
                                                void* _Nullable reserved) CF_RETURNS_RETAINED;

// Keychain items.
extern const CFStringRef kSecClass, kSecClassGenericPassword, kSecAttrService, kSecAttrAccount,
    kSecAttrAccessible, kSecAttrAccessibleWhenUnlockedThisDeviceOnly, kSecValueData, kSecReturnData,
    kSecMatchLimit, kSecMatchLimitOne;
extern const CFStringRef kSecUseDataProtectionKeychain SINCE_MACOS(10.15);
OSStatus SecItemCopyMatching(CFDictionaryRef query,
                             CFTypeRef _Nullable* _Nullable CF_RETURNS_RETAINED result)
    RESULT_MATTERS;
OSStatus SecItemAdd(CFDictionaryRef attributes,
                    CFTypeRef _Nullable* _Nullable CF_RETURNS_RETAINED result) RESULT_MATTERS;
OSStatus SecItemUpdate(CFDictionaryRef query, CFDictionaryRef attributes) RESULT_MATTERS;
OSStatus SecItemDelete(CFDictionaryRef query) RESULT_MATTERS;

// Entitlements of this process.
typedef struct CF_BRIDGED(id) __SecTask* SecTaskRef;
SecTaskRef _Nullable SecTaskCreateFromSelf(CFAllocatorRef _Nullable allocator) CF_RETURNS_RETAINED;
CFTypeRef _Nullable SecTaskCopyValueForEntitlement(SecTaskRef task, CFStringRef entitlement,
                                                   CFErrorRef _Nullable* _Nullable error)
    CF_RETURNS_RETAINED;

// Code of other processes.
typedef struct CF_BRIDGED(id) __SecCode* SecCodeRef;
typedef const struct CF_BRIDGED(id) __SecCode* SecStaticCodeRef;
typedef struct CF_BRIDGED(id) __SecRequirement* SecRequirementRef;
typedef uint32_t SecCSFlags;
enum : SecCSFlags { kSecCSDefaultFlags = 0 };
extern const CFStringRef kSecGuestAttributeAudit, kSecGuestAttributePid, kSecCodeInfoIdentifier;
OSStatus SecCodeCopyGuestWithAttributes(
    SecCodeRef _Nullable host, CFDictionaryRef _Nullable attributes, SecCSFlags flags,
    SecCodeRef _Nullable* _Nonnull CF_RETURNS_RETAINED guest) RESULT_MATTERS;
OSStatus SecRequirementCreateWithString(
    CFStringRef text, SecCSFlags flags,
    SecRequirementRef _Nullable* _Nonnull CF_RETURNS_RETAINED requirement) RESULT_MATTERS;
OSStatus SecCodeCheckValidity(SecCodeRef code, SecCSFlags flags,
                              SecRequirementRef _Nullable requirement) RESULT_MATTERS;
OSStatus SecCodeCopyStaticCode(SecCodeRef code, SecCSFlags flags,
                               SecStaticCodeRef _Nullable* _Nonnull CF_RETURNS_RETAINED onDisk)
    RESULT_MATTERS;
OSStatus SecCodeCopySigningInformation(
    SecStaticCodeRef code, SecCSFlags flags,
    CFDictionaryRef _Nullable* _Nonnull CF_RETURNS_RETAINED information) RESULT_MATTERS;

// The security session, which is the login session.
typedef UInt32 SecuritySessionId;
typedef UInt32 SessionAttributeBits;
enum : SecuritySessionId { callerSecuritySession = ~SecuritySessionId{0} };
OSStatus SessionGetInfo(SecuritySessionId session, SecuritySessionId* _Nullable identifier,
                        SessionAttributeBits* _Nullable attributes) RESULT_MATTERS;

typedef const struct __SecRandom* SecRandomRef;
extern const SecRandomRef _Nullable kSecRandomDefault;
int SecRandomCopyBytes(SecRandomRef _Nullable generator, size_t count, void* bytes) RESULT_MATTERS;
#pragma clang assume_nonnull end
}
