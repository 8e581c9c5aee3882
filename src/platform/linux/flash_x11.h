#pragma once

#include <memory>

#include "platform/flash_window.h"

namespace brindle {

/// A white X11 window. The connection to the X server lives only as long as the window is shown.
class X11FlashWindow final : public FlashWindow {
 public:
  X11FlashWindow();
  ~X11FlashWindow() override;

  bool show() override;
  void hide() override;
  ServiceReport report() const override;

 private:
  class Shown;
  std::unique_ptr<Shown> shown_;
};

}  // namespace brindle
