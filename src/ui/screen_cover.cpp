#include "ui/screen_cover.h"

#include <QApplication>
#include <QCloseEvent>
#include <QGuiApplication>
#include <QPalette>
#include <QScreen>
#include <QVBoxLayout>
#include <QWidget>
#include <QWindow>
#include <algorithm>
#include <chrono>

namespace brindle {
namespace {

using namespace std::chrono_literals;

constexpr auto keepEvery = 250ms;
constexpr int turnsPerGap = 3;
/// Long enough for a locker that retries every tenth of a millisecond, too short to type in.
constexpr auto keyboardGap = 8ms;

bool onX11() { return QGuiApplication::platformName() == "xcb"; }

/// Where a window may lie anywhere it likes. Full screen in the system's sense is a space of its
/// own on macOS, which a gesture leaves.
bool placedByUs() { return onX11() || QGuiApplication::platformName() == "cocoa"; }

Qt::WindowFlags coverFlags() {
  Qt::WindowFlags flags = Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint;
  if (onX11()) flags |= Qt::BypassWindowManagerHint;
  return flags;
}

}  // namespace

/// One screen's cover. It cannot be closed from outside; only its owner takes it away.
class ScreenCover::Panel : public QWidget {
 public:
  explicit Panel(QScreen* screen) : QWidget(nullptr, coverFlags()), screen_(screen) {
    setWindowTitle(QGuiApplication::translate("brindle", "This Mac is guarded."));
    setAutoFillBackground(true);
    setLit(false);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    fit();
  }

  void setLit(bool lit) {
    QPalette colours = palette();
    colours.setColor(QPalette::Window, lit ? QColor(Qt::white) : QColor(18, 20, 26));
    setPalette(colours);
  }

  /// Null once the screen has been unplugged.
  QScreen* coveredScreen() const { return screen_; }

  void fit() {
    if (!screen_) return;
    if (screen() != screen_) setScreen(screen_);
    if (geometry() != screen_->geometry()) setGeometry(screen_->geometry());
    if (isVisible() && !isMinimized()) return;
    if (placedByUs()) {
      show();
    } else {
      showFullScreen();
    }
  }

 protected:
  void closeEvent(QCloseEvent* event) override { event->ignore(); }

 private:
  QPointer<QScreen> screen_;
};

ScreenCover::ScreenCover(QWidget* form, std::function<bool()> screenLocked, Hold hold)
    : form_(form), screenLocked_(std::move(screenLocked)), hold_(std::move(hold)) {
  keeper_.setInterval(keepEvery);
  connect(&keeper_, &QTimer::timeout, this, &ScreenCover::keep);
  const auto soon = [this] {
    if (showing_) keep();
  };
  connect(qGuiApp, &QGuiApplication::screenAdded, this, soon);
  connect(qGuiApp, &QGuiApplication::screenRemoved, this, soon);
  connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, soon);
}

ScreenCover::~ScreenCover() { hide(); }

void ScreenCover::show() {
  showing_ = true;
  keep();
  keeper_.start();
}

void ScreenCover::hide() {
  showing_ = false;
  keeper_.stop();
  if (Panel* panel = formPanel(); panel && panel->windowHandle()) {
    panel->windowHandle()->setKeyboardGrabEnabled(false);
  }
  form_->hide();
  form_->setParent(nullptr);
  panels_.clear();
  holdInFront();
}

void ScreenCover::holdInFront() const {
  if (!hold_) return;
  std::vector<std::uintptr_t> windows;
  for (const auto& panel : panels_) windows.push_back(panel->winId());
  hold_(windows);
}

void ScreenCover::setLit(bool lit) {
  lit_ = lit;
  for (const auto& panel : panels_) panel->setLit(lit);
}

void ScreenCover::keep() {
  matchScreens();
  if (screenLocked_()) {
    // The locker's window and its keyboard come first.
    if (Panel* panel = formPanel(); panel && panel->windowHandle()) {
      panel->windowHandle()->setKeyboardGrabEnabled(false);
    }
    return;
  }
  for (const auto& panel : panels_) panel->raise();
  holdInFront();
  takeKeyboard();
}

void ScreenCover::matchScreens() {
  const QList<QScreen*> screens = QGuiApplication::screens();
  for (QScreen* screen : screens) {
    const bool covered = std::ranges::any_of(
        panels_, [screen](const auto& panel) { return panel->coveredScreen() == screen; });
    if (covered) continue;
    panels_.push_back(std::make_unique<Panel>(screen));
    panels_.back()->setLit(lit_);
  }
  placeForm();
  std::erase_if(panels_,
                [&](const auto& panel) { return !screens.contains(panel->coveredScreen()); });
  for (const auto& panel : panels_) panel->fit();
}

/// The form moves along when the primary screen changes or goes.
void ScreenCover::placeForm() {
  const auto onPrimary = std::ranges::find_if(panels_, [](const auto& panel) {
    return panel->coveredScreen() && panel->coveredScreen() == QGuiApplication::primaryScreen();
  });
  if (onPrimary == panels_.end() || formPanel() == onPrimary->get()) return;
  (*onPrimary)->layout()->addWidget(form_.get());
  form_->show();
}

ScreenCover::Panel* ScreenCover::formPanel() const {
  for (const auto& panel : panels_) {
    if (form_->parentWidget() == panel.get()) return panel.get();
  }
  return nullptr;
}

void ScreenCover::takeKeyboard() {
  Panel* panel = formPanel();
  if (!panel || !panel->windowHandle()) return;
  panel->activateWindow();
  if (!panel->isAncestorOf(QApplication::focusWidget())) form_->setFocus();
  QWindow* window = panel->windowHandle();
  if (++turn_ % turnsPerGap != 0) {
    window->setKeyboardGrabEnabled(true);
    return;
  }
  window->setKeyboardGrabEnabled(false);
  QTimer::singleShot(keyboardGap, this, [this] {
    Panel* now = formPanel();
    if (showing_ && now && now->windowHandle() && !screenLocked_()) {
      now->windowHandle()->setKeyboardGrabEnabled(true);
    }
  });
}

}  // namespace brindle
