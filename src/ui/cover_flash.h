#pragma once

#include "platform/flash_window.h"

namespace brindle {

class GuardedWindow;

/// The flash of a program that may have its guarded window up: the covers themselves turn white
/// then, because they are above every other window, the plain flash among them. Main thread only.
class CoverFlash final : public FlashWindow {
 public:
  explicit CoverFlash(FlashWindow& plain) : plain_(plain) {}

  /// The window to light as well, from now on; null when it goes.
  void follow(GuardedWindow* window);

  bool show() override;
  void hide() override;
  ServiceReport report() const override { return plain_.report(); }

 private:
  FlashWindow& plain_;
  GuardedWindow* window_ = nullptr;
  bool lit_ = false;
};

}  // namespace brindle
