#include "ui/settings_page.h"

#include <QDesktopServices>
#include <QFormLayout>
#include <QUrl>
#include <QVBoxLayout>

#include "ui/owner_check_dialog.h"
#include "ui/secrets_form.h"
#include "ui/texts.h"

namespace brindle {
namespace {

QString translated(const char* text) { return QCoreApplication::translate("brindle", text); }

QPushButton* addButton(QLayout* layout, const QString& text) {
  auto* button = new QPushButton(text);
  layout->addWidget(button);
  return button;
}

/// Where the system keeps the camera permission; only macOS has such a page.
QUrl cameraSettings() {
#ifdef Q_OS_MACOS
  return QUrl("x-apple.systempreferences:com.apple.preference.security?Privacy_Camera");
#else
  return {};
#endif
}

}  // namespace

SettingsPage::SettingsPage(Parts parts) : parts_(std::move(parts)) {
  auto* column = new QVBoxLayout(this);
  addSecrets(column);
  addGuard(column);
  addCamera(column);
  addDeletion(column);
  message_ = new QLabel;
  message_->setWordWrap(true);
  column->addWidget(message_);
  column->addStretch();
  changes_ = parts_.store.onChange([this] { refresh(); });
  refresh();
}

void SettingsPage::addSecrets(QLayout* layout) {
  pin_ = addButton(layout, {});
  answer_ = addButton(layout, {});
  connect(pin_, &QPushButton::clicked, this, &SettingsPage::changePin);
  connect(answer_, &QPushButton::clicked, this, &SettingsPage::changeAnswer);
  if (parts_.keyringNote.empty()) return;
  auto* note = new QLabel(shown(parts_.keyringNote));
  note->setWordWrap(true);
  layout->addWidget(note);
}

void SettingsPage::addGuard(QLayout* layout) {
  auto* box = new QWidget;
  auto* form = new QFormLayout(box);
  form->setContentsMargins(0, 0, 0, 0);
  delay_ = new QSpinBox;
  delay_->setRange(1, static_cast<int>(NightjarStore::longestAlertDelay));
  delay_->setSuffix(translated(" s"));
  delay_->setAccessibleName(translated("Alert delay in seconds"));
  form->addRow(translated("Report an unconfirmed unlock after"), delay_);
  atLogin_ = new QCheckBox(translated("Start Brindle when I log in"));
  form->addRow(atLogin_);
  layout->addWidget(box);
  connect(delay_, &QSpinBox::editingFinished, this, &SettingsPage::applyDelay);
  connect(atLogin_, &QCheckBox::clicked, this, [this](bool wanted) {
    guarded(parts_.store.armed(), [this, wanted](const OwnerProof*) {
      const auto chosen = parts_.startAtLogin.choose(wanted);
      say(chosen ? QString() : plainText(chosen.error()));
      refresh();
    });
    refresh();
  });
}

void SettingsPage::addCamera(QLayout* layout) {
  camera_ = new QLabel(shown("Without camera access an unlock is recorded but not photographed."));
  camera_->setWordWrap(true);
  layout->addWidget(camera_);
  if (cameraSettings().isEmpty()) return;
  connect(addButton(layout, shown("Open Camera Settings…")), &QPushButton::clicked, this,
          [] { QDesktopServices::openUrl(cameraSettings()); });
}

void SettingsPage::addDeletion(QLayout* layout) {
  connect(addButton(layout, translated("Delete all photos…")), &QPushButton::clicked, this, [this] {
    withProof(window(), parts_.gate, OwnerPurpose::action,
              [this](const OwnerProof& proof) { parts_.store.deletePhotos(proof); });
  });
  connect(addButton(layout, translated("Delete the whole history…")), &QPushButton::clicked, this,
          [this] {
            withProof(window(), parts_.gate, OwnerPurpose::action,
                      [this](const OwnerProof& proof) { parts_.store.deleteAll(proof); });
          });
}

void SettingsPage::changePin() {
  // While on, a PIN whose record has vanished is no reason to let anybody choose one.
  const bool free = parts_.store.pinState() == SecretState::notSet && !parts_.store.armed();
  guarded(!free, [this](const OwnerProof* proof) {
    showSecrets(new PinDialog(window(), parts_.secrets,
                              proof ? std::optional(*proof) : std::nullopt, [this] { refresh(); }),
                proof != nullptr);
  });
}

void SettingsPage::changeAnswer() {
  guarded(true, [this](const OwnerProof* proof) {
    showSecrets(new AnswerDialog(window(), parts_.secrets, *proof, [this] { refresh(); }), true);
  });
}

void SettingsPage::showSecrets(QDialog* dialog, bool proved) {
  if (proved) provedDialog_ = dialog;
  dialog->show();
}

void SettingsPage::guarded(bool needed, std::function<void(const OwnerProof*)> act) {
  if (!needed) {
    act(nullptr);
    return;
  }
  withProof(window(), parts_.gate, OwnerPurpose::action,
            [act = std::move(act)](const OwnerProof& proof) { act(&proof); });
}

void SettingsPage::applyDelay() {
  const std::int64_t wanted = delay_->value();
  if (wanted == parts_.store.alertDelay()) return;
  // Until it is stored the old one holds; a field that loses its focus to the owner check must not
  // ask a second time.
  delay_->setValue(static_cast<int>(parts_.store.alertDelay()));
  guarded(parts_.store.armed(), [this, wanted](const OwnerProof* proof) {
    if (!parts_.store.setAlertDelay(wanted, proof)) say(translated("That could not be saved."));
    refresh();
  });
}

void SettingsPage::refresh() {
  if (provedDialog_ && !parts_.store.ownerProved()) provedDialog_->close();
  pin_->setText(parts_.store.pinIsSet() ? translated("Change the PIN…")
                                        : translated("Choose a PIN…"));
  answer_->setText(parts_.store.hasSecretAnswer() ? translated("Change the secret answer…")
                                                  : translated("Choose a secret question…"));
  answer_->setEnabled(parts_.store.pinIsSet());
  if (!delay_->hasFocus()) delay_->setValue(static_cast<int>(parts_.store.alertDelay()));
  atLogin_->setChecked(parts_.startAtLogin.chosen());
  camera_->setVisible(!parts_.store.cameraAllowed());
}

void SettingsPage::say(const QString& text) { message_->setText(text); }

}  // namespace brindle
