#pragma once

#include <QDialog>

#include "ui/proof_form.h"

namespace brindle {

/// The owner check for everything but the guarded window: a dialog that can be given up. Deletes
/// itself when it closes. `given` gets the proof; `givenUp` is told when the dialog closes without
/// one.
class OwnerCheckDialog : public QDialog {
 public:
  OwnerCheckDialog(QWidget* parent, OwnerGate& gate, OwnerPurpose purpose, ProofForm::Proved given,
                   std::function<void()> givenUp = {});
};

/// Goes on at once with the proof that is kept since the last lock, or asks for one.
void withProof(QWidget* parent, OwnerGate& gate, OwnerPurpose purpose, ProofForm::Proved then);

}  // namespace brindle
