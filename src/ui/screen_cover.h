#pragma once

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

class QScreen;
class QWidget;

namespace brindle {

/// Keeps every screen covered, with one widget ("the form") on the primary one. It does not trust
/// events: four times a second it looks whether each screen has its cover, raises the covers, puts
/// the keyboard back on the form, and takes the keyboard for itself.
///
/// On X11 the covers bypass the window manager, so that no key binding of it closes, moves or hides
/// them. A screen locker cannot start while somebody else holds the keyboard, and it gives up soon,
/// so the grab is let go for a few milliseconds in every 750: a locker asks again and again in that
/// time. While the screen is locked the covers stay below the locker.
///
/// On macOS `Hold` does what Qt cannot. On Wayland no ordinary window can promise any of this (see
/// docs/limits.md). Main thread only.
class ScreenCover : public QObject {
 public:
  /// What a window system needs beyond Qt's means to keep the covers in front: called with their
  /// native handles whenever they are looked after, and with none once they are down. May be empty.
  using Hold = std::function<void(std::span<const std::uintptr_t> windows)>;

  /// `form` becomes the cover's; `screenLocked` tells whether a locker is in front.
  ScreenCover(QWidget* form, std::function<bool()> screenLocked, Hold hold = {});
  ~ScreenCover() override;

  void show();
  /// Takes the covers down; the form stays with this object.
  void hide();
  bool shown() const { return !panels_.empty(); }
  /// White instead of dark, to light a face in front of the camera.
  void setLit(bool lit);

 private:
  class Panel;

  void keep();
  void matchScreens();
  void placeForm();
  void holdInFront() const;
  void takeKeyboard();
  Panel* formPanel() const;

  std::unique_ptr<QWidget> form_;
  std::function<bool()> screenLocked_;
  Hold hold_;
  std::vector<std::unique_ptr<Panel>> panels_;
  QTimer keeper_;
  int turn_ = 0;
  bool showing_ = false;
  bool lit_ = false;
};

}  // namespace brindle
