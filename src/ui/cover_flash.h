#pragma once

#include <vector>

#include "platform/flash_window.h"

namespace brindle {

class CoverWindow;

/// The flash of a program that may have a cover up: the covers themselves turn white then, because
/// they are above every other window, the plain flash among them. Main thread only.
class CoverFlash final : public FlashWindow {
 public:
  explicit CoverFlash(FlashWindow& plain) : plain_(plain) {}

  /// The windows to light as well, from now on; none when they go.
  void follow(std::vector<CoverWindow*> windows);

  bool show() override;
  void hide() override;
  ServiceReport report() const override { return plain_.report(); }

 private:
  void setLit(bool lit);

  FlashWindow& plain_;
  std::vector<CoverWindow*> windows_;
  bool lit_ = false;
};

}  // namespace brindle
