#pragma once

#include <QDialog>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QTabWidget>
#include <QWidget>

#include "ui/history_page.h"
#include "ui/settings_page.h"
#include "ui/triggers_page.h"

namespace brindle {

/// The full window: the guard, the history, the settings, and alarm with schedule. It takes
/// keyboard focus although the application lives in the menu bar.
class KeyWindow : public QWidget {
 public:
  struct Parts {
    SettingsPage::Parts settings;
    TriggersPage::Parts triggers;
    UnlockLog& unlocks;
    PhotoVault& vault;
    /// Asks the system for the camera, where it wants to be asked.
    std::function<void()> askForCamera;
    std::function<std::string()> lockSourceProblem;  ///< empty while unlocks are noticed
  };
  explicit KeyWindow(Parts parts);

  enum class Page { guard, history, settings, triggers };
  void show(Page page);
  SettingsPage& settings() { return *settings_; }

 protected:
  /// Whoever opens the window next proves themself for the history again.
  void closeEvent(QCloseEvent* event) override;

 private:
  QWidget* guardPage();
  void refresh();
  void switchGuard();
  /// Shows the first steps for as long as the store wants them.
  void followOnboarding();
  /// A new PIN in place of one whose record can't be read.
  void replacePin();
  QString noticeText() const;

  Parts parts_;
  NightjarStore& store_;
  QTabWidget* tabs_;
  SettingsPage* settings_;
  QLabel* state_ = nullptr;
  QLabel* notice_ = nullptr;
  QPushButton* switch_ = nullptr;
  QPushButton* again_ = nullptr;
  QPushButton* replace_ = nullptr;
  QPointer<QDialog> onboarding_;
  Subscription changes_;
};

}  // namespace brindle
