#pragma once

#include <QPointer>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "ui/alarm_stop.h"
#include "ui/guarded_window.h"
#include "ui/key_window.h"
#include "ui/menu_bar.h"
#include "ui/owner_check_dialog.h"

namespace brindle {

/// Opens the windows and brings them forward, and shows the owner checks that the store asks
/// for. Main thread only.
class WindowManager {
 public:
  struct Parts {
    KeyWindow::Parts window;
    const ScreenLock& screen;
    AlarmEngine* alarm = nullptr;  ///< none where nothing sounds
    /// Asks the application to quit; it decides, with proof while the guard is on.
    std::function<void()> requestQuit;
    ScreenCover::Hold holdCovers = {};
  };
  explicit WindowManager(Parts parts);

  void openFullWindow(KeyWindow::Page page = KeyWindow::Page::guard);
  /// Those that lie above everything else.
  std::vector<CoverWindow*> covers();
  /// Asks for a proof to quit; `given` once it came.
  void askForQuit(ProofForm::Proved given);

 private:
  void chosen(MenuContent::Action action);
  void follow();

  Parts parts_;
  NightjarStore& store_;
  OwnerGate& gate_;
  std::unique_ptr<KeyWindow> window_;
  GuardedWindow guarded_;
  std::optional<AlarmStop> alarmStop_;  ///< behind the guarded window, which goes first
  MenuBar menuBar_;
  QPointer<OwnerCheckDialog> turnOffCheck_;
  QPointer<OwnerCheckDialog> quitCheck_;
  Subscription changes_;
};

}  // namespace brindle
