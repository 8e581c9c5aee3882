#pragma once

#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <optional>

#include "base/lifetime.h"
#include "owner/secret_store.h"

namespace brindle {

/// Choosing the PIN (entered twice). Deletes itself when it closes; `saved` is told after a save.
class PinDialog : public QDialog {
 public:
  PinDialog(QWidget* parent, SecretStore& secrets, std::optional<OwnerProof> proof,
            std::function<void()> saved);

 private:
  void save();

  SecretStore& secrets_;
  std::optional<OwnerProof> proof_;
  std::function<void()> saved_;
  QLineEdit* pin_;
  QLineEdit* repeat_;
  QLabel* message_;
  Lifetime lifetime_;
};

/// Choosing the secret question and its answer (entered twice).
class AnswerDialog : public QDialog {
 public:
  AnswerDialog(QWidget* parent, SecretStore& secrets, std::optional<OwnerProof> proof,
               std::function<void()> saved);

 private:
  void save();

  SecretStore& secrets_;
  std::optional<OwnerProof> proof_;
  std::function<void()> saved_;
  QLineEdit* question_;
  QLineEdit* answer_;
  QLineEdit* repeat_;
  QLabel* message_;
  Lifetime lifetime_;
};

}  // namespace brindle
