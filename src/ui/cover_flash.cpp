#include "ui/cover_flash.h"

#include "ui/guarded_window.h"

namespace brindle {

void CoverFlash::follow(GuardedWindow* window) {
  window_ = window;
  if (window_) window_->setLit(lit_);
}

bool CoverFlash::show() {
  lit_ = true;
  const bool shown = plain_.show();
  if (window_) window_->setLit(true);
  return shown || (window_ && window_->shown());
}

void CoverFlash::hide() {
  lit_ = false;
  plain_.hide();
  if (window_) window_->setLit(false);
}

}  // namespace brindle
