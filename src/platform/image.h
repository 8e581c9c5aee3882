#pragma once

#include <optional>

#include "base/bytes.h"
#include "platform/service_report.h"

namespace brindle {

/// Looks at encoded pictures. Any thread; takes milliseconds, so not on the main thread.
class ImageReader {
 public:
  virtual ~ImageReader() = default;

  /// Mean of the luma samples of a scaled-down decode, 0.0 (black) to 1.0 (white). Nothing when the
  /// bytes are no picture or picture data is missing; stray bytes between or after the data do no
  /// harm.
  virtual std::optional<double> meanBrightness(ByteView encoded) const = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
