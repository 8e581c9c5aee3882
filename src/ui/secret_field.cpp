#include "ui/secret_field.h"

namespace brindle {

QLineEdit* newSecretField(const QString& name) {
  auto* field = new QLineEdit;
  field->setEchoMode(QLineEdit::Password);
  field->setPlaceholderText(name);
  field->setAccessibleName(name);
  field->setMaxLength(256);
  field->setContextMenuPolicy(Qt::NoContextMenu);
  field->setInputMethodHints(Qt::ImhSensitiveData | Qt::ImhNoPredictiveText |
                             Qt::ImhNoAutoUppercase);
  return field;
}

SecretText takenFrom(QLineEdit* field) {
  QByteArray typed = field->text().toUtf8();
  SecretText secret(std::string_view(typed.constData(), static_cast<std::size_t>(typed.size())));
  wipe(typed.data(), static_cast<std::size_t>(typed.size()));
  field->setText(QString(field->text().size(), QLatin1Char('0')));
  field->clear();
  return secret;
}

}  // namespace brindle
