#include "ui/proof_form.h"

#include <QVBoxLayout>
#include <chrono>

#include "owner/secret_texts.h"
#include "ui/secret_field.h"
#include "ui/texts.h"

namespace brindle {
namespace {

using namespace std::chrono_literals;

QString translated(const char* text) { return QCoreApplication::translate("brindle", text); }

}  // namespace

ProofForm::ProofForm(std::unique_ptr<GateSitting> sitting, Proved proved)
    : sitting_(std::move(sitting)), proved_(std::move(proved)) {
  auto* layout = new QVBoxLayout(this);
  layout->setSpacing(10);
  auto* heading = new QLabel(shown(sitting_->heading()));
  heading->setWordWrap(true);
  heading->setAlignment(Qt::AlignHCenter);
  layout->addWidget(heading);

  message_ = new QLabel;
  message_->setObjectName("message");
  message_->setWordWrap(true);
  message_->setAlignment(Qt::AlignHCenter);
  layout->addWidget(message_);
  pin_ = newSecretField(translated("Brindle PIN"));
  pin_->setAlignment(Qt::AlignHCenter);
  layout->addWidget(pin_);
  confirm_ = new QPushButton(translated("Confirm"));
  layout->addWidget(confirm_);
  addAnswerRow(layout);
  if (sitting_->fingerprintOffered()) addFingerprint(layout);

  for (QLineEdit* field : {pin_, answer_}) {
    connect(field, &QLineEdit::textEdited, this, [this] { sitting_->used(); });
  }
  connect(pin_, &QLineEdit::returnPressed, this, &ProofForm::tryPin);
  connect(confirm_, &QPushButton::clicked, this, &ProofForm::tryPin);
  connect(answer_, &QLineEdit::returnPressed, this, &ProofForm::tryAnswer);
  connect(confirmAnswer_, &QPushButton::clicked, this, &ProofForm::tryAnswer);
  countdown_.setInterval(1s);
  connect(&countdown_, &QTimer::timeout, this, &ProofForm::refresh);
  setFocusProxy(pin_);
  refresh();
}

void ProofForm::addAnswerRow(QLayout* layout) {
  question_ = new QLabel;
  question_->setWordWrap(true);
  question_->setAlignment(Qt::AlignHCenter);
  answer_ = newSecretField(translated("Secret answer"));
  confirmAnswer_ = new QPushButton(translated("Confirm with the answer"));
  for (QWidget* widget : std::initializer_list<QWidget*>{question_, answer_, confirmAnswer_}) {
    widget->hide();
    layout->addWidget(widget);
  }
}

void ProofForm::tryPin() {
  if (!confirm_->isEnabled() || pin_->text().isEmpty()) return;
  lastTried_ = WrongTry::pin;
  setBusy(true);
  sitting_->tryPin(takenFrom(pin_),
                   lifetime_.guard([this](const GateAnswer& answer) { answered(pin_, answer); }));
}

void ProofForm::tryAnswer() {
  if (!confirmAnswer_->isEnabled() || answer_->text().isEmpty()) return;
  lastTried_ = WrongTry::answer;
  setBusy(true);
  sitting_->tryAnswer(takenFrom(answer_), lifetime_.guard([this](const GateAnswer& answer) {
    answered(answer_, answer);
  }));
}

void ProofForm::addFingerprint(QLayout* layout) {
  fingerprint_ = new QPushButton(translated("Use the fingerprint reader"));
  layout->addWidget(fingerprint_);
  connect(fingerprint_, &QPushButton::clicked, this, &ProofForm::tryFingerprint);
}

void ProofForm::tryFingerprint() {
  setBusy(true);
  sitting_->tryFingerprint(
      lifetime_.guard([this](const GateAnswer& answer) { answered(pin_, answer); }));
}

void ProofForm::answered(QLineEdit* field, const GateAnswer& answer) {
  setBusy(false);
  if (answer.outcome == GateAnswer::Outcome::right && answer.proof) {
    const Proved proved = proved_;  // it may destroy this form
    proved(*answer.proof);
    return;
  }
  message_->setText(shown(answer.message));
  message_->setAccessibleName(message_->text());
  refresh();
  field->setFocus();
}

void ProofForm::setBusy(bool busy) {
  for (QWidget* widget : std::initializer_list<QWidget*>{pin_, confirm_, answer_, confirmAnswer_}) {
    widget->setEnabled(!busy);
  }
  if (fingerprint_) fingerprint_->setEnabled(!busy);
}

void ProofForm::refresh() {
  offerAnswer();
  const int left = sitting_->secondsLeft(lastTried_);
  if (left > 0) {
    message_->setText(shown(secret_texts::locked(lastTried_, left)));
    if (!countdown_.isActive()) countdown_.start();
  } else if (countdown_.isActive()) {
    countdown_.stop();
    message_->clear();
  }
}

void ProofForm::offerAnswer() {
  const bool offered = sitting_->answerOpen() && !sitting_->question().empty();
  if (offered) question_->setText(plainText(sitting_->question()));
  for (QWidget* widget : std::initializer_list<QWidget*>{question_, answer_, confirmAnswer_}) {
    widget->setVisible(offered);
  }
}

}  // namespace brindle
