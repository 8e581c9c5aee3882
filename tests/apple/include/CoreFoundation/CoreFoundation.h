#pragma once
#include <dispatch/dispatch.h>
#include <stdbool.h>
#include <stdint.h>

#define CF_BRIDGED(type) __attribute__((objc_bridge(type)))
#define CF_RETURNS_RETAINED __attribute__((cf_returns_retained))

extern "C" {
#pragma clang assume_nonnull begin
typedef unsigned char Boolean;
typedef int32_t OSStatus;
typedef uint32_t UInt32;
typedef UInt32 OSType;
typedef unsigned long CFTypeID;
typedef const CF_BRIDGED(id) void* CFTypeRef;
typedef const struct CF_BRIDGED(NSString) __CFString* CFStringRef;
typedef const struct CF_BRIDGED(NSDictionary) __CFDictionary* CFDictionaryRef;
typedef const struct CF_BRIDGED(NSData) __CFData* CFDataRef;
typedef const struct CF_BRIDGED(NSNumber) __CFNumber* CFNumberRef;
typedef struct CF_BRIDGED(NSError) __CFError* CFErrorRef;
typedef const struct CF_BRIDGED(id) __CFAllocator* CFAllocatorRef;
typedef struct CF_BRIDGED(id) __CFRunLoop* CFRunLoopRef;

void CFRelease(CFTypeRef object);
CFTypeID CFGetTypeID(CFTypeRef object);
CFTypeID CFBooleanGetTypeID(void);
Boolean CFNumberIsFloatType(CFNumberRef number);

extern const CFStringRef kCFPreferencesCurrentApplication;
Boolean CFPreferencesAppSynchronize(CFStringRef application);

CFRunLoopRef CFRunLoopGetMain(void);
void CFRunLoopRun(void);
void CFRunLoopStop(CFRunLoopRef loop);
#pragma clang assume_nonnull end
}

static inline id _Nullable CFBridgingRelease(CFTypeRef __attribute__((cf_consumed)) _Nullable x) {
  return (__bridge_transfer id)x;
}
