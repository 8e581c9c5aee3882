#pragma once

#include <QMenu>
#include <QSystemTrayIcon>
#include <functional>

#include "base/subscription.h"
#include "core/menu_content.h"
#include "core/nightjar_store.h"

namespace brindle {

/// The menu-bar item: shows whether the guard is on and offers `MenuContent`.
class MenuBar {
 public:
  MenuBar(NightjarStore& store, std::function<void(MenuContent::Action)> chosen);

  /// False where the desktop shows no such items; the full window is then the way in.
  bool available() const { return QSystemTrayIcon::isSystemTrayAvailable(); }

 private:
  void refresh();

  NightjarStore& store_;
  std::function<void(MenuContent::Action)> chosen_;
  QMenu menu_;
  QSystemTrayIcon item_;
  Subscription changes_;
};

}  // namespace brindle
