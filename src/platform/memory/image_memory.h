#pragma once

#include "platform/image.h"

namespace brindle {

/// Reads pictures of a text form: "PICTURE 0.29 END" is one of mean brightness 0.29. Without its
/// end the picture is incomplete; what follows the end is not looked at.
class MemoryImageReader final : public ImageReader {
 public:
  static Bytes picture(double brightness);

  std::optional<double> meanBrightness(ByteView encoded) const override;
  ServiceReport report() const override { return {"image", "memory", true, "text pictures"}; }
};

}  // namespace brindle
