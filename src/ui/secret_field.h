#pragma once

#include <QLineEdit>
#include <QString>

#include "base/secret_text.h"

namespace brindle {

/// A field for a PIN or an answer: dots instead of characters, named for screen readers, kept out
/// of context menus and input-method suggestions.
QLineEdit* newSecretField(const QString& name);

/// What was typed, taken out of the field: the field is emptied, and its text overwritten as far as
/// the toolkit lets us.
SecretText takenFrom(QLineEdit* field);

}  // namespace brindle
