#include "ui/window_manager.h"

namespace brindle {

WindowManager::WindowManager(Parts parts)
    : parts_(std::move(parts)),
      store_(parts_.window.settings.store),
      gate_(parts_.window.settings.gate),
      guarded_(store_, gate_, parts_.screen, parts_.holdCovers),
      menuBar_(store_, [this](MenuContent::Action action) { chosen(action); }) {
  if (parts_.alarm) {
    alarmStop_.emplace(*parts_.alarm, store_, gate_, parts_.screen, parts_.holdCovers);
  }
  changes_ = store_.onChange([this] { follow(); });
  if (!menuBar_.available()) openFullWindow();  // then the window is the only way in
  follow();
}

std::vector<CoverWindow*> WindowManager::covers() {
  if (!alarmStop_) return {&guarded_};
  return {&guarded_, &*alarmStop_};
}

void WindowManager::openFullWindow(KeyWindow::Page page) {
  if (!window_) window_ = std::make_unique<KeyWindow>(parts_.window);
  window_->show(page);
}

void WindowManager::chosen(MenuContent::Action action) {
  switch (action) {
    case MenuContent::Action::turnOn:
      store_.turnOn(ArmSource::owner(), [this](TurnOnOutcome outcome) {
        if (outcome != TurnOnOutcome::on) openFullWindow();  // it shows why not
      });
      return;
    case MenuContent::Action::turnOff:
      store_.requestTurnOff();
      return;
    case MenuContent::Action::openFullWindow:
      openFullWindow();
      return;
    case MenuContent::Action::settings:
      openFullWindow(KeyWindow::Page::settings);
      return;
    case MenuContent::Action::whatsNew:
    case MenuContent::Action::reportProblem:
      return;  // shown, not offered yet
    case MenuContent::Action::quit:
      parts_.requestQuit();
      return;
  }
}

void WindowManager::follow() {
  // The keychain's first answer comes later than this program's first window.
  if (store_.secretsFlow().onboardingUnderWay() && !window_) openFullWindow();
  if (!store_.turnOffRequested() || turnOffCheck_) {
    if (!store_.turnOffRequested() && turnOffCheck_) turnOffCheck_->close();
    return;
  }
  turnOffCheck_ = new OwnerCheckDialog(
      nullptr, gate_, OwnerPurpose::turnOff, [](const OwnerProof&) {},
      [this] { store_.cancelTurnOff(); });
  turnOffCheck_->show();
  turnOffCheck_->activateWindow();
}

void WindowManager::askForQuit(ProofForm::Proved given) {
  if (quitCheck_) {
    quitCheck_->raise();
    return;
  }
  quitCheck_ = new OwnerCheckDialog(nullptr, gate_, OwnerPurpose::quit, std::move(given));
  quitCheck_->show();
  quitCheck_->activateWindow();
}

}  // namespace brindle
