#include "ui/secrets_form.h"

#include <QDialogButtonBox>
#include <QFormLayout>

#include "owner/secret_texts.h"
#include "ui/secret_field.h"
#include "ui/texts.h"

namespace brindle {
namespace {

QString translated(const char* text) { return QCoreApplication::translate("brindle", text); }

QLabel* messageLabel() {
  auto* label = new QLabel;
  label->setObjectName("message");
  label->setWordWrap(true);
  return label;
}

/// Save and cancel below the fields; Enter saves.
template <class Save>
void addButtons(QDialog* dialog, QFormLayout* layout, Save save) {
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Save | QDialogButtonBox::Cancel);
  layout->addRow(buttons);
  QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, save);
  QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
}

}  // namespace

PinDialog::PinDialog(QWidget* parent, SecretStore& secrets, std::optional<OwnerProof> proof,
                     std::function<void()> saved)
    : QDialog(parent),
      secrets_(secrets),
      proof_(std::move(proof)),
      saved_(std::move(saved)),
      pin_(newSecretField(translated("New PIN"))),
      repeat_(newSecretField(translated("The PIN again"))),
      message_(messageLabel()) {
  setAttribute(Qt::WA_DeleteOnClose);
  setWindowTitle(translated("Choose your Brindle PIN"));
  auto* layout = new QFormLayout(this);
  layout->addRow(new QLabel(translated("4 to 32 digits. You need it to turn Brindle off.")));
  layout->addRow(translated("New PIN"), pin_);
  layout->addRow(translated("The PIN again"), repeat_);
  layout->addRow(message_);
  addButtons(this, layout, [this] { save(); });
}

void PinDialog::save() {
  secrets_.savePin(takenFrom(pin_), takenFrom(repeat_), proof_ ? &*proof_ : nullptr,
                   lifetime_.guard([this](PinSaved outcome) {
                     message_->setText(shown(secret_texts::pinSaved(outcome)));
                     if (outcome != PinSaved::saved) return pin_->setFocus();
                     accept();
                     saved_();
                   }));
}

AnswerDialog::AnswerDialog(QWidget* parent, SecretStore& secrets, std::optional<OwnerProof> proof,
                           std::function<void()> saved)
    : QDialog(parent),
      secrets_(secrets),
      proof_(std::move(proof)),
      saved_(std::move(saved)),
      question_(new QLineEdit),
      answer_(newSecretField(translated("Answer"))),
      repeat_(newSecretField(translated("The answer again"))),
      message_(messageLabel()) {
  setAttribute(Qt::WA_DeleteOnClose);
  setWindowTitle(translated("Choose a secret question"));
  question_->setAccessibleName(translated("Question"));
  auto* layout = new QFormLayout(this);
  layout->addRow(new QLabel(translated("It lets you in when you have forgotten your PIN.")));
  layout->addRow(translated("Question"), question_);
  layout->addRow(translated("Answer"), answer_);
  layout->addRow(translated("The answer again"), repeat_);
  layout->addRow(message_);
  addButtons(this, layout, [this] { save(); });
}

void AnswerDialog::save() {
  secrets_.saveAnswer(question_->text().toStdString(), takenFrom(answer_), takenFrom(repeat_),
                      proof_ ? &*proof_ : nullptr, lifetime_.guard([this](AnswerSaved outcome) {
                        message_->setText(shown(secret_texts::answerSaved(outcome)));
                        if (outcome != AnswerSaved::saved) return answer_->setFocus();
                        accept();
                        saved_();
                      }));
}

}  // namespace brindle
