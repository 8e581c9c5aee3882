#include "ui/guarded_window.h"

#include <QPushButton>
#include <chrono>

#include "ui/event_text.h"
#include "ui/proof_form.h"
#include "ui/texts.h"

namespace brindle {
namespace {

QString translated(const char* text) { return QCoreApplication::translate("brindle", text); }

}  // namespace

GuardedForm::GuardedForm(NightjarStore& store, OwnerGate& gate)
    : CoverForm(brindle::shown("This Mac is guarded.")), store_(store), gate_(gate) {
  what_ = addText(13);
  remaining_ = addText(11);
  QObject::connect(&seconds_, &QTimer::timeout, this, &GuardedForm::showRemaining);
  seconds_.start(std::chrono::seconds(1));
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
  column().addWidget(asking_, 0, Qt::AlignHCenter);
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
    : CoverWindow(screen, std::move(hold)), store_(store), gate_(gate) {
  changes_ = store_.onChange([this] { follow(); });
  follow();
}

void GuardedWindow::follow() {
  if (!store_.pendingConfirm()) {
    hide();
    form_ = nullptr;
    return;
  }
  if (!form_) {
    form_ = new GuardedForm(store_, gate_);
    form_->refresh();
    show(form_);
  }
  form_->refresh();
}

}  // namespace brindle
