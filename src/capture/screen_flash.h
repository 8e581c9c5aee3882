#pragma once

#include "platform/flash_window.h"

namespace brindle {

/// Lights the face in front of a dark screen, once, and is out again when its owner is gone,
/// whichever way that happens.
class ScreenFlash {
 public:
  explicit ScreenFlash(FlashWindow& window) : window_(window) {}
  ScreenFlash(const ScreenFlash&) = delete;
  ScreenFlash& operator=(const ScreenFlash&) = delete;
  ~ScreenFlash() {
    if (lit_) window_.hide();
  }

  /// True when this call lit it. A screen that could not be lit once is not asked again.
  bool light() {
    if (tried_) return false;
    tried_ = true;
    return lit_ = window_.show();
  }

 private:
  FlashWindow& window_;
  bool tried_ = false;
  bool lit_ = false;
};

}  // namespace brindle
