#include "ui/cover_flash.h"

#include <algorithm>
#include <utility>

#include "ui/cover_window.h"

namespace brindle {

void CoverFlash::follow(std::vector<CoverWindow*> windows) {
  windows_ = std::move(windows);
  setLit(lit_);
}

bool CoverFlash::show() {
  const bool shown = plain_.show();
  setLit(true);
  return shown || std::ranges::any_of(windows_, &CoverWindow::shown);
}

void CoverFlash::hide() {
  plain_.hide();
  setLit(false);
}

void CoverFlash::setLit(bool lit) {
  lit_ = lit;
  for (CoverWindow* window : windows_) window->setLit(lit);
}

}  // namespace brindle
