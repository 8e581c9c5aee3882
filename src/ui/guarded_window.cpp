#include "ui/guarded_window.h"

#include <QPushButton>
#include <chrono>

#include "ui/event_text.h"
#include "ui/proof_form.h"
#include "ui/texts.h"

namespace brindle {
namespace {

constexpr int formWidth = 420;

QString translated(const char* text) { return QCoreApplication::translate("brindle", text); }

QLabel* centred(const QString& text, int points, bool bold) {
  auto* label = new QLabel(text);
  QFont font = label->font();
  font.setPointSize(points);
  font.setBold(bold);
  label->setFont(font);
  label->setAlignment(Qt::AlignHCenter);
  label->setWordWrap(true);
  return label;
}

}  // namespace

GuardedForm::GuardedForm(NightjarStore& store, OwnerGate& gate) : store_(store), gate_(gate) {
  setObjectName("guardedForm");
  setLit(false);
  layout_ = new QVBoxLayout(this);
  layout_->setAlignment(Qt::AlignCenter);
  layout_->setSpacing(14);
  QLabel* title = centred(shown("This Mac is guarded."), 30, true);
  title->setWordWrap(false);
  layout_->addWidget(title);
  what_ = centred({}, 13, false);
  layout_->addWidget(what_);
  remaining_ = centred({}, 11, false);
  layout_->addWidget(remaining_);
  QObject::connect(&seconds_, &QTimer::timeout, this, &GuardedForm::showRemaining);
  seconds_.start(std::chrono::seconds(1));
}

void GuardedForm::setLit(bool lit) {
  setStyleSheet(QString("#guardedForm QLabel { color: %1; }"
                        "#guardedForm QLabel#message { color: %2; }"
                        "#guardedForm QLineEdit { padding: 8px; font-size: 18px; }"
                        "#guardedForm QPushButton { padding: 8px; }"
                        "#guardedForm QPushButton:flat { color: %1; }")
                    .arg(lit ? "#202020" : "#f2f2f2", lit ? "#a03000" : "#ffc46b"));
}

void GuardedForm::showRemaining() {
  const EventRef event = store_.unconfirmedUnlock();
  const auto left = event ? store_.holdSecondsLeft(event->id) : std::nullopt;
  remaining_->setText(left ? translated("Confirm that it was you within %1 seconds.").arg(*left)
                           : QString());
}

void GuardedForm::refresh() {
  const EventRef event = store_.unconfirmedUnlock();
  if (!event) return;
  what_->setText(translated("%1, %2").arg(eventTitle(*event), eventDate(*event)));
  showRemaining();
  if (asking_ && asked_ == event->id && askedAsProved_ == store_.provedSinceAsked()) return;
  asked_ = event->id;
  askedAsProved_ = store_.provedSinceAsked();
  if (asking_) asking_->deleteLater();
  asking_ = askedAsProved_ ? choice(event->id) : question();
  layout_->addWidget(asking_, 0, Qt::AlignHCenter);
  setFocusProxy(asking_);
  asking_->setFocus();
}

QWidget* GuardedForm::question() {
  auto* box = new QWidget;
  auto* column = new QVBoxLayout(box);
  const OwnerPurpose purpose = notMe_ ? OwnerPurpose::action : OwnerPurpose::confirmUnlock;
  auto* form = new ProofForm(gate_.open(purpose), [this](const OwnerProof& proof) {
    if (notMe_) keep(proof);
    notMe_ = false;
  });
  form->setFixedWidth(formWidth);
  column->addWidget(form);
  auto* other = new QPushButton(notMe_ ? translated("It was me") : translated("It wasn't me"));
  other->setFlat(true);
  column->addWidget(other);
  QObject::connect(other, &QPushButton::clicked, this, [this] {
    notMe_ = !notMe_;
    asked_.reset();
    refresh();
  });
  box->setFocusProxy(form);
  return box;
}

QWidget* GuardedForm::choice(const Uuid& id) {
  auto* box = new QWidget;
  box->setFixedWidth(formWidth);
  auto* column = new QVBoxLayout(box);
  auto* mine = new QPushButton(shown("That was me"));
  auto* notMine = new QPushButton(translated("It wasn't me: keep it in the history"));
  column->addWidget(mine);
  column->addWidget(notMine);
  QObject::connect(mine, &QPushButton::clicked, this, [this, id] {
    if (const auto proof = gate_.keptProof(OwnerPurpose::confirmUnlock))
      store_.thatWasMe(id, *proof);
  });
  QObject::connect(notMine, &QPushButton::clicked, this, [this] {
    if (const auto proof = gate_.keptProof(OwnerPurpose::action)) keep(*proof);
  });
  box->setFocusProxy(mine);
  return box;
}

void GuardedForm::keep(const OwnerProof& proof) {
  if (const auto id = store_.pendingConfirm()) store_.keepInHistory(*id, proof);
}

GuardedWindow::GuardedWindow(NightjarStore& store, OwnerGate& gate, const ScreenLock& screen,
                             ScreenCover::Hold hold)
    : store_(store), gate_(gate), screen_(screen), hold_(std::move(hold)) {
  changes_ = store_.onChange([this] { follow(); });
  follow();
}

void GuardedWindow::setLit(bool lit) {
  lit_ = lit;
  if (cover_) cover_->setLit(lit);
  if (form_) form_->setLit(lit);
}

void GuardedWindow::follow() {
  if (!store_.pendingConfirm()) {
    if (cover_) cover_->hide();
    cover_.reset();
    form_ = nullptr;
    return;
  }
  if (!cover_) {
    form_ = new GuardedForm(store_, gate_);
    cover_ = std::make_unique<ScreenCover>(
        form_, [this] { return screen_.screenLocked(); }, hold_);
    form_->refresh();
    setLit(lit_);
    cover_->show();
  }
  form_->refresh();
}

}  // namespace brindle
