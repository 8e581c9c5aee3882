#include "ui/menu_bar.h"

#include <QGuiApplication>
#include <QIcon>
#include <QPainter>
#include <QPalette>
#include <QPixmap>

#include "ui/texts.h"

namespace brindle {
namespace {

/// A shield, filled while the guard is on. Drawn in the desktop's text colour, as template images
/// are.
QIcon shield(bool filled) {
  constexpr int side = 64;
  QPixmap picture(side, side);
  picture.fill(Qt::transparent);
  QPainter painter(&picture);
  painter.setRenderHint(QPainter::Antialiasing);
  const QColor colour = QGuiApplication::palette().color(QPalette::WindowText);
  painter.setPen(QPen(colour, 5));
  if (filled) painter.setBrush(colour);
  painter.drawPolygon(QPolygon({QPoint(32, 5), QPoint(56, 14), QPoint(53, 38), QPoint(32, 59),
                                QPoint(11, 38), QPoint(8, 14)}));
  QIcon icon(picture);
  icon.setIsMask(true);
  return icon;
}

}  // namespace

MenuBar::MenuBar(NightjarStore& store, std::function<void(MenuContent::Action)> chosen)
    : store_(store), chosen_(std::move(chosen)) {
  item_.setContextMenu(&menu_);
  QObject::connect(&item_, &QSystemTrayIcon::activated, &menu_,
                   [this](QSystemTrayIcon::ActivationReason reason) {
                     if (reason == QSystemTrayIcon::Trigger) {
                       chosen_(MenuContent::Action::openFullWindow);
                     }
                   });
  changes_ = store_.onChange([this] { refresh(); });
  refresh();
  item_.show();
}

void MenuBar::refresh() {
  const MenuContent content(store_.armed());
  item_.setIcon(shield(store_.armed()));
  item_.setToolTip(shown(content.label()));
  menu_.clear();
  menu_.setTitle(shown(content.label()));
  for (const MenuContent::Entry& entry : content.entries()) {
    QAction* action = menu_.addAction(shown(entry.text));
    action->setEnabled(entry.enabled);
    QObject::connect(action, &QAction::triggered, &menu_,
                     [this, what = entry.action] { chosen_(what); });
  }
}

}  // namespace brindle
