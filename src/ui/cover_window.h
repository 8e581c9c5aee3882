#pragma once

#include <QLabel>
#include <QVBoxLayout>
#include <QWidget>
#include <memory>

#include "platform/screen_lock.h"
#include "ui/screen_cover.h"

namespace brindle {

/// What stands on a covered screen: a column in its middle, below a title.
class CoverForm : public QWidget {
 public:
  explicit CoverForm(const QString& title);
  void setLit(bool lit);

 protected:
  static constexpr int formWidth = 420;
  QLabel* addText(int points, bool bold = false);
  QVBoxLayout& column() { return *column_; }

 private:
  QVBoxLayout* column_;
};

/// A full-screen window that its owner shows and takes away, and nobody else. Main thread only.
class CoverWindow {
 public:
  CoverWindow(const ScreenLock& screen, ScreenCover::Hold hold)
      : screen_(screen), hold_(std::move(hold)) {}

  bool shown() const { return cover_ && cover_->shown(); }
  /// The covers light the face in front of the camera; what stands on them stays readable.
  void setLit(bool lit);

 protected:
  ~CoverWindow() = default;
  /// `form` becomes the cover's.
  void show(CoverForm* form);
  void hide();

 private:
  const ScreenLock& screen_;
  ScreenCover::Hold hold_;
  std::unique_ptr<ScreenCover> cover_;
  CoverForm* form_ = nullptr;  ///< owned by the cover
  bool lit_ = false;
};

}  // namespace brindle
