#include "ui/owner_check_dialog.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/texts.h"

namespace brindle {

OwnerCheckDialog::OwnerCheckDialog(QWidget* parent, OwnerGate& gate, OwnerPurpose purpose,
                                   ProofForm::Proved given, std::function<void()> givenUp)
    : QDialog(parent) {
  setAttribute(Qt::WA_DeleteOnClose);
  setWindowFlag(Qt::WindowStaysOnTopHint);
  setWindowTitle(QCoreApplication::translate("brindle", "Brindle"));
  setMinimumWidth(360);
  auto* layout = new QVBoxLayout(this);
  auto* form = new ProofForm(gate.open(purpose), [this, given](const OwnerProof& proof) {
    const OwnerProof kept = proof;
    accept();
    given(kept);
  });
  layout->addWidget(form);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
  // Return in the field has the try begin, whose busy field passes its focus on: the button that
  // gets it must not take the rest of that key press for "cancel".
  buttons->button(QDialogButtonBox::Cancel)->setAutoDefault(false);
  layout->addWidget(buttons);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  if (givenUp) connect(this, &QDialog::rejected, this, givenUp);
  form->setFocus();
}

void withProof(QWidget* parent, OwnerGate& gate, OwnerPurpose purpose, ProofForm::Proved then) {
  if (const auto kept = gate.keptProof(purpose)) {
    then(*kept);
    return;
  }
  auto* dialog = new OwnerCheckDialog(parent, gate, purpose, std::move(then));
  dialog->show();
  dialog->activateWindow();
}

}  // namespace brindle
