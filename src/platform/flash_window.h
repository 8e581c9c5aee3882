#pragma once

#include "platform/service_report.h"

namespace brindle {

/// A white window over the built-in display (the main one if there is none) that lights the face in
/// front of it: topmost, never takes input or focus. Main thread only.
class FlashWindow {
 public:
  virtual ~FlashWindow() = default;  ///< takes it down

  /// False when no window could be shown.
  virtual bool show() = 0;
  virtual void hide() = 0;
  virtual ServiceReport report() const = 0;
};

}  // namespace brindle
