#pragma once

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <memory>

#include "base/lifetime.h"
#include "owner/owner_gate.h"

namespace brindle {

/// Asks the owner for their PIN, or for their secret answer once the gate offers it. It drives one
/// sitting of the owner gate and shows what the gate says; it decides nothing. Main thread only.
class ProofForm : public QWidget {
 public:
  using Proved = std::function<void(const OwnerProof&)>;

  /// `proved` is called once, after the gate has passed the proof on to the store. It may destroy
  /// the form.
  ProofForm(std::unique_ptr<GateSitting> sitting, Proved proved);

 private:
  void addAnswerRow(QLayout* layout);
  void addFingerprint(QLayout* layout);
  void tryPin();
  void tryAnswer();
  void tryFingerprint();
  void answered(QLineEdit* field, const GateAnswer& answer);
  void setBusy(bool busy);
  /// Shows or hides the answer's row and keeps the countdown of a lock-out going.
  void refresh();
  void offerAnswer();

  std::unique_ptr<GateSitting> sitting_;
  Proved proved_;
  QLineEdit* pin_ = nullptr;
  QPushButton* confirm_ = nullptr;
  QLabel* question_ = nullptr;
  QLineEdit* answer_ = nullptr;
  QPushButton* confirmAnswer_ = nullptr;
  QPushButton* fingerprint_ = nullptr;  ///< only where a reader is offered
  QLabel* message_ = nullptr;
  QTimer countdown_;
  WrongTry lastTried_ = WrongTry::pin;
  Lifetime lifetime_;
};

}  // namespace brindle
