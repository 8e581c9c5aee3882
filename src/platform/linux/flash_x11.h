#pragma once

#include <memory>

#include "platform/flash_window.h"

namespace brindle {

/// The X server that this process would use takes connections. Waits a moment for one that starts
/// anew. Blocking.
bool x11Answers();

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
