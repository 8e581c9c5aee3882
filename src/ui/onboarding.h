#pragma once

#include <QDialog>
#include <QLabel>
#include <QLineEdit>

#include "base/lifetime.h"
#include "owner/secret_store.h"

namespace brindle {

/// The first steps: PIN, and question with answer for the day it is forgotten. Deletes itself when
/// it closes; `done` is told once the PIN is saved. Giving up leaves everything as it was, and the
/// next start asks again.
class Onboarding : public QDialog {
 public:
  /// `answerSaved`: an earlier run got as far as the answer, so only the PIN is asked for.
  Onboarding(QWidget* parent, SecretStore& secrets, bool answerSaved, std::function<void()> done);

 private:
  void save();
  /// Once a PIN is set an answer takes the owner's proof, so it is saved first.
  void saveAnswer();
  void savePin();
  void closeAnswer();
  void say(std::string_view message, QLineEdit* next);

  SecretStore& secrets_;
  std::function<void()> done_;
  QLineEdit* pin_;
  QLineEdit* repeat_;
  QLineEdit* question_;
  QLineEdit* answer_;
  QLineEdit* answerRepeat_;
  QLabel* message_;
  bool answerSaved_;
  Lifetime lifetime_;
};

}  // namespace brindle
