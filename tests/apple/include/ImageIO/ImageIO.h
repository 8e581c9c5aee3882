#pragma once
#import <CoreGraphics/CoreGraphics.h>

extern "C" {
#pragma clang assume_nonnull begin
typedef struct CF_BRIDGED(id) CGImageSource* CGImageSourceRef;
enum CGImageSourceStatus : int32_t { kCGImageStatusComplete = 0 };
extern const CFStringRef kCGImageSourceCreateThumbnailFromImageAlways;
extern const CFStringRef kCGImageSourceThumbnailMaxPixelSize;
CGImageSourceRef _Nullable CGImageSourceCreateWithData(
    CFDataRef data, CFDictionaryRef _Nullable options) CF_RETURNS_RETAINED;
CGImageSourceStatus CGImageSourceGetStatusAtIndex(CGImageSourceRef source, size_t index);
CGImageRef _Nullable CGImageSourceCreateThumbnailAtIndex(
    CGImageSourceRef source, size_t index, CFDictionaryRef _Nullable options) CF_RETURNS_RETAINED;
#pragma clang assume_nonnull end
}
