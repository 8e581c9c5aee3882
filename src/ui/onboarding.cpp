#include "ui/onboarding.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QPushButton>

#include "owner/secret_texts.h"
#include "ui/secret_field.h"
#include "ui/texts.h"

namespace brindle {
namespace {

QString translated(const char* text) { return QCoreApplication::translate("brindle", text); }

QLabel* paragraph(const QString& text) {
  auto* label = new QLabel(text);
  label->setWordWrap(true);
  return label;
}

}  // namespace

Onboarding::Onboarding(QWidget* parent, SecretStore& secrets, bool answerSaved,
                       std::function<void()> done)
    : QDialog(parent),
      secrets_(secrets),
      done_(std::move(done)),
      pin_(newSecretField(translated("New PIN"))),
      repeat_(newSecretField(translated("The PIN again"))),
      question_(new QLineEdit),
      answer_(newSecretField(translated("Answer"))),
      answerRepeat_(newSecretField(translated("The answer again"))),
      message_(paragraph({})),
      answerSaved_(answerSaved) {
  setAttribute(Qt::WA_DeleteOnClose);
  setWindowTitle(translated("Welcome to Brindle"));
  setMinimumWidth(460);
  question_->setAccessibleName(translated("Question"));
  auto* form = new QFormLayout(this);
  form->addRow(paragraph(translated(
      "Choose a PIN of 4 to 32 digits. Only with it can an unlock be confirmed and Brindle "
      "be turned off.")));
  form->addRow(translated("New PIN"), pin_);
  form->addRow(translated("The PIN again"), repeat_);
  form->addRow(paragraph(translated(
      "A question that only you can answer lets you in when you have forgotten the PIN. You can "
      "leave it empty and add it later.")));
  form->addRow(translated("Question"), question_);
  form->addRow(translated("Answer"), answer_);
  form->addRow(translated("The answer again"), answerRepeat_);
  form->addRow(message_);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Save | QDialogButtonBox::Cancel);
  form->addRow(buttons);
  connect(buttons, &QDialogButtonBox::accepted, this, [this] { save(); });
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  if (!answerSaved_) return;
  question_->setText(plainText(secrets_.question()));
  closeAnswer();
}

void Onboarding::closeAnswer() {
  for (QLineEdit* field : {question_, answer_, answerRepeat_}) field->setEnabled(false);
}

void Onboarding::save() {
  const bool hasAnswer = !question_->text().isEmpty() || !answer_->text().isEmpty();
  if (hasAnswer && !answerSaved_) return saveAnswer();
  savePin();
}

void Onboarding::saveAnswer() {
  secrets_.saveAnswer(question_->text().toStdString(), takenFrom(answer_), takenFrom(answerRepeat_),
                      nullptr, lifetime_.guard([this](AnswerSaved outcome) {
                        if (outcome != AnswerSaved::saved) {
                          return say(secret_texts::answerSaved(outcome), answer_);
                        }
                        answerSaved_ = true;
                        closeAnswer();
                        savePin();
                      }));
}

void Onboarding::savePin() {
  secrets_.savePin(takenFrom(pin_), takenFrom(repeat_), nullptr,
                   lifetime_.guard([this](PinSaved outcome) {
                     if (outcome != PinSaved::saved)
                       return say(secret_texts::pinSaved(outcome), pin_);
                     accept();
                     done_();
                   }));
}

void Onboarding::say(std::string_view message, QLineEdit* next) {
  message_->setText(shown(message));
  next->setFocus();
}

}  // namespace brindle
