#pragma once

#include <QCheckBox>
#include <QDialog>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QSpinBox>
#include <QWidget>
#include <string>

#include "base/subscription.h"
#include "core/nightjar_store.h"
#include "core/start_at_login.h"
#include "owner/owner_gate.h"
#include "owner/secret_store.h"

namespace brindle {

/// The owner's choices. Secrets always need proof once a PIN is set; the others while the guard is
/// on.
class SettingsPage : public QWidget {
 public:
  struct Parts {
    NightjarStore& store;
    OwnerGate& gate;
    SecretStore& secrets;
    StartAtLoginOnArm& startAtLogin;
    std::string keyringNote;  ///< where the secrets are kept; empty when there is nothing to say
  };
  explicit SettingsPage(Parts parts);

  void changePin();
  void changeAnswer();

 private:
  void addSecrets(QLayout* layout);
  void addGuard(QLayout* layout);
  void addCamera(QLayout* layout);
  void addDeletion(QLayout* layout);
  void refresh();
  void showSecrets(QDialog* dialog, bool proved);
  void applyDelay();
  /// Runs `act` with a proof when one is needed, else with none.
  void guarded(bool needed, std::function<void(const OwnerProof*)> act);
  void say(const QString& text);

  Parts parts_;
  QPushButton* pin_ = nullptr;
  QPushButton* answer_ = nullptr;
  QSpinBox* delay_ = nullptr;
  QCheckBox* atLogin_ = nullptr;
  QLabel* camera_ = nullptr;
  QLabel* message_ = nullptr;
  QPointer<QDialog> provedDialog_;  ///< holds a proof, so it closes when the proof is forgotten
  Subscription changes_;
};

}  // namespace brindle
