#import <CoreGraphics/CoreGraphics.h>
#import <Foundation/Foundation.h>
#import <ImageIO/ImageIO.h>

#include <cstdint>
#include <numeric>
#include <vector>

#include "platform/mac/mac_backends.h"
#include "platform/mac/mac_support.h"

namespace brindle {
namespace {

using OwnedImage = mac::Owned<CGImageRef, CGImageRelease>;
using OwnedContext = mac::Owned<CGContextRef, CGContextRelease>;
using OwnedColorSpace = mac::Owned<CGColorSpaceRef, CGColorSpaceRelease>;

/// At most 32 pixels on its longer side, always made from the picture and not from a preview that
/// it may carry.
OwnedImage thumbnailOf(NSData* encoded) {
  const mac::CfOwned<CGImageSourceRef> source(
      CGImageSourceCreateWithData((__bridge CFDataRef)encoded, nullptr));
  // Anything but "complete" means that picture data is missing or unreadable.
  if (!source || CGImageSourceGetStatusAtIndex(source.get(), 0) != kCGImageStatusComplete) {
    return OwnedImage();
  }
  NSDictionary<NSString*, id>* options = @{
    (__bridge NSString*)kCGImageSourceCreateThumbnailFromImageAlways : @YES,
    (__bridge NSString*)kCGImageSourceThumbnailMaxPixelSize : @32,
  };
  return OwnedImage(
      CGImageSourceCreateThumbnailAtIndex(source.get(), 0, (__bridge CFDictionaryRef)options));
}

/// Gray values, row by row; empty when the bitmap could not be made.
Bytes grayOf(CGImageRef image) {
  const std::size_t width = CGImageGetWidth(image);
  const std::size_t height = CGImageGetHeight(image);
  Bytes gray(width * height, 0);
  const OwnedColorSpace space(CGColorSpaceCreateDeviceGray());
  const OwnedContext context(
      CGBitmapContextCreate(gray.data(), width, height, 8, width, space.get(), kCGImageAlphaNone));
  if (!context) return {};
  CGContextDrawImage(context.get(),
                     CGRectMake(0, 0, static_cast<double>(width), static_cast<double>(height)),
                     image);
  return gray;
}

class MacImageReader final : public ImageReader {
 public:
  std::optional<double> meanBrightness(ByteView encoded) const override {
    @autoreleasepool {  // worker threads have no pool of their own
      const OwnedImage thumbnail = thumbnailOf(mac::dataOf(encoded));
      if (!thumbnail) return std::nullopt;
      const Bytes gray = grayOf(thumbnail.get());
      if (gray.empty()) return std::nullopt;
      const double sum = std::accumulate(gray.begin(), gray.end(), 0.0);
      return sum / (static_cast<double>(gray.size()) * 255.0);
    }
  }

  ServiceReport report() const override {
    return {"image", "ImageIO", true, "decodes what the system decodes"};
  }
};

}  // namespace

std::unique_ptr<ImageReader> makeMacImageReader() { return std::make_unique<MacImageReader>(); }

}  // namespace brindle
