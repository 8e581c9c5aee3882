#include "ui/key_window.h"

#include <QCloseEvent>
#include <QVBoxLayout>

#include "core/menu_content.h"
#include "owner/secret_texts.h"
#include "ui/onboarding.h"
#include "ui/owner_check_dialog.h"
#include "ui/secrets_form.h"
#include "ui/texts.h"

namespace brindle {
namespace {

QString translated(const char* text) { return QCoreApplication::translate("brindle", text); }

}  // namespace

KeyWindow::KeyWindow(Parts parts)
    : parts_(std::move(parts)), store_(parts_.settings.store), tabs_(new QTabWidget(this)) {
  setWindowTitle(translated("Brindle"));
  resize(760, 520);
  auto* column = new QVBoxLayout(this);
  column->addWidget(tabs_);
  tabs_->addTab(guardPage(), translated("Guard"));
  tabs_->addTab(new HistoryPage(store_, parts_.settings.gate, parts_.vault, parts_.unlocks),
                translated("History"));
  settings_ = new SettingsPage(parts_.settings);
  tabs_->addTab(settings_, translated("Settings"));
  tabs_->addTab(new TriggersPage(parts_.triggers), translated("Alarm and schedule"));
  changes_ = store_.onChange([this] { refresh(); });
  refresh();
}

void KeyWindow::closeEvent(QCloseEvent* event) {
  store_.lockHistory();
  QWidget::closeEvent(event);
}

void KeyWindow::show(Page page) {
  tabs_->setCurrentIndex(static_cast<int>(page));
  QWidget::show();
  raise();
  activateWindow();
}

QWidget* KeyWindow::guardPage() {
  auto* page = new QWidget;
  auto* column = new QVBoxLayout(page);
  column->setAlignment(Qt::AlignCenter);
  state_ = new QLabel;
  QFont font = state_->font();
  font.setPointSize(22);
  state_->setFont(font);
  state_->setAlignment(Qt::AlignHCenter);
  notice_ = new QLabel;
  notice_->setObjectName("notice");
  notice_->setWordWrap(true);
  notice_->setAlignment(Qt::AlignHCenter);
  switch_ = new QPushButton;
  again_ = new QPushButton(translated("Try again"));
  replace_ = new QPushButton(translated("Choose a new PIN…"));
  for (QWidget* each :
       std::initializer_list<QWidget*>{state_, notice_, switch_, again_, replace_}) {
    column->addWidget(each);
  }
  connect(switch_, &QPushButton::clicked, this, &KeyWindow::switchGuard);
  connect(again_, &QPushButton::clicked, this, [this] { store_.askAgain(); });
  connect(replace_, &QPushButton::clicked, this, &KeyWindow::replacePin);
  return page;
}

void KeyWindow::followOnboarding() {
  const bool wanted = store_.secretsFlow().onboardingUnderWay();
  if (wanted == static_cast<bool>(onboarding_)) return;
  if (!wanted) {
    onboarding_->close();
    return;
  }
  onboarding_ = new Onboarding(this, parts_.settings.secrets,
                               store_.secretsFlow().resumesOnboarding(), parts_.askForCamera);
  connect(onboarding_, &QDialog::finished, this, [this] { store_.endOnboarding(); });
  onboarding_->show();
  onboarding_->activateWindow();
}

void KeyWindow::replacePin() {
  if (!store_.beginReplacingPIN()) return;
  auto* dialog = new PinDialog(this, parts_.settings.secrets, std::nullopt, [] {});
  connect(dialog, &QObject::destroyed, [&store = store_] { store.endReplacingPIN(); });
  dialog->show();
}

void KeyWindow::switchGuard() {
  if (store_.armed()) {
    store_.requestTurnOff();
  } else if (store_.pinState() == SecretState::notSet) {
    store_.beginOnboarding();
  } else {
    store_.turnOn(ArmSource::owner());
  }
}

QString KeyWindow::noticeText() const {
  if (store_.turnOnRefused()) {
    const SecretStore& secrets = parts_.settings.secrets;
    QString text = plainText(
        secret_texts::unreadable({store_.pinUnreadable(), store_.answerUnreadable(), true}));
    if (store_.stillCantRead())
      text = plainText(secret_texts::stillUnreadable(secrets.unreadableCode()));
    return text;
  }
  QStringList notices;
  if (store_.stateNotice()) notices << shown(*store_.stateNotice());
  if (store_.secretsFlow().secretAnswerRequested()) {
    notices << translated("Add a secret question in the settings, for the day you forget the PIN.");
  }
  if (parts_.settings.secrets.keychainMayAsk()) notices << shown(secret_texts::keychainWillAsk());
  if (const std::string problem = parts_.lockSourceProblem(); !problem.empty()) {
    notices << shown(problem);
  }
  return notices.join("\n\n");
}

void KeyWindow::refresh() {
  state_->setText(shown(MenuContent(store_.armed()).label()));
  notice_->setText(noticeText());
  notice_->setVisible(!notice_->text().isEmpty());
  again_->setVisible(store_.turnOnRefused());
  again_->setEnabled(!store_.askingAgain());
  replace_->setVisible(store_.stillCantRead() && store_.pinUnreadable() && !store_.armed());
  followOnboarding();
  if (store_.armed()) {
    switch_->setText(shown("Turn Brindle off…"));
  } else if (store_.pinState() == SecretState::notSet) {
    switch_->setText(translated("Choose a PIN…"));
  } else {
    switch_->setText(shown("Turn Brindle on"));
  }
}

}  // namespace brindle
