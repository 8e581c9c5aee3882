#pragma once

#include <QCoreApplication>
#include <QString>
#include <string>
#include <string_view>

namespace brindle {

/// Text of the logic (UTF-8, in English) in the owner's language.
inline QString shown(std::string_view text) {
  return QCoreApplication::translate("brindle", std::string(text).c_str());
}

inline QString plainText(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace brindle
