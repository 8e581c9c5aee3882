#include "ui/alarm_stop.h"

#include "ui/proof_form.h"
#include "ui/texts.h"

namespace brindle {
namespace {

QString reasonText(std::string_view reason) {
  if (reason == alarm_reason::powerUnplugged) return shown("The power adapter was unplugged.");
  if (reason == alarm_reason::lidClosed) return shown("The lid was closed.");
  if (reason == alarm_reason::unconfirmedUnlock) return shown("Nobody confirmed an unlock.");
  return {};
}

}  // namespace

class AlarmStop::Form : public CoverForm {
 public:
  explicit Form(OwnerGate& gate) : CoverForm(brindle::shown("The alarm is sounding.")) {
    why_ = addText(13);
    // The store hears of the proof from the gate, and stops the alarm.
    auto* proof = new ProofForm(gate.open(OwnerPurpose::alarm), [](const OwnerProof&) {});
    proof->setFixedWidth(formWidth);
    column().addWidget(proof, 0, Qt::AlignHCenter);
    setFocusProxy(proof);
  }
  void say(const QString& why) {
    why_->setText(why);
    setAccessibleDescription(why);
  }

 private:
  QLabel* why_;
};

AlarmStop::AlarmStop(AlarmEngine& alarm, NightjarStore& store, OwnerGate& gate,
                     const ScreenLock& screen, ScreenCover::Hold hold)
    : CoverWindow(screen, std::move(hold)), alarm_(alarm), store_(store), gate_(gate) {
  alarmChanges_ = alarm_.onChange([this] { follow(); });
  storeChanges_ = store_.onChange([this] { follow(); });
  follow();
}

void AlarmStop::follow() {
  const auto& reason = alarm_.sounding();
  if (!reason || store_.pendingConfirm()) {
    hide();
    form_ = nullptr;
    return;
  }
  if (!form_) {
    form_ = new Form(gate_);
    show(form_);
  }
  form_->say(reasonText(*reason));
}

}  // namespace brindle
