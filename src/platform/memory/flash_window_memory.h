#pragma once

#include "platform/flash_window.h"

namespace brindle {

/// Remembers whether it is shown; can be told that there is no screen.
class MemoryFlashWindow final : public FlashWindow {
 public:
  bool show() override {
    if (!hasScreen_) return false;
    shows_ += shown_ ? 0 : 1;
    shown_ = true;
    return true;
  }
  void hide() override { shown_ = false; }
  ServiceReport report() const override {
    return {"flash window", "memory", hasScreen_, hasScreen_ ? "a screen in memory" : "no screen"};
  }

  void setHasScreen(bool hasScreen) { hasScreen_ = hasScreen; }
  bool shown() const { return shown_; }
  int shows() const { return shows_; }

 private:
  bool hasScreen_ = true;
  bool shown_ = false;
  int shows_ = 0;
};

}  // namespace brindle
