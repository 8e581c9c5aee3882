#pragma once

#include "platform/image.h"

namespace brindle {

/// Measures JPEG pictures with libjpeg-turbo.
class JpegImageReader final : public ImageReader {
 public:
  std::optional<double> meanBrightness(ByteView encoded) const override;
  ServiceReport report() const override;
};

}  // namespace brindle
