#pragma once
#import <Foundation/Foundation.h>

extern "C" {
#pragma clang assume_nonnull begin
typedef unsigned int boolean_t;
typedef uint32_t CGDirectDisplayID;
CFDictionaryRef _Nullable CGSessionCopyCurrentDictionary(void) CF_RETURNS_RETAINED;
CGDirectDisplayID CGMainDisplayID(void);
boolean_t CGDisplayIsAsleep(CGDirectDisplayID display);
boolean_t CGDisplayIsBuiltin(CGDirectDisplayID display);

typedef struct CF_BRIDGED(id) CGImage* CGImageRef;
typedef struct CF_BRIDGED(id) CGContext* CGContextRef;
typedef struct CF_BRIDGED(id) CGColorSpace* CGColorSpaceRef;
enum CGImageAlphaInfo : uint32_t { kCGImageAlphaNone = 0 };
void CGImageRelease(CGImageRef _Nullable image);
size_t CGImageGetWidth(CGImageRef image);
size_t CGImageGetHeight(CGImageRef image);
CGColorSpaceRef CGColorSpaceCreateDeviceGray(void) CF_RETURNS_RETAINED;
void CGColorSpaceRelease(CGColorSpaceRef _Nullable space);
CGContextRef _Nullable CGBitmapContextCreate(void* _Nullable data, size_t width, size_t height,
                                             size_t bitsPerComponent, size_t bytesPerRow,
                                             CGColorSpaceRef space,
                                             uint32_t bitmapInfo) CF_RETURNS_RETAINED;
void CGContextRelease(CGContextRef _Nullable context);
void CGContextDrawImage(CGContextRef context, CGRect rect, CGImageRef image);
static inline CGRect CGRectMake(CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
  return CGRect{{x, y}, {width, height}};
}
#pragma clang assume_nonnull end
}
