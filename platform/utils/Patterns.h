#pragma once
// LIKE and GLOB patterns as anchored regular expressions (QRegularExpression
// syntax) that match a text exactly when the pattern matches the whole text.

#include "platform/utils/UtilsExport.h"

#include <QChar>
#include <QString>

namespace tessera::utils {

// '%' any run, '_' one character; `escape` (0 for none) makes the next
// character literal. Every other character is literal.
TESSERA_UTILS_EXPORT QString likeToRegular(const QString& pattern, QChar escape = QChar());
// '*' any run, '?' one character, '[...]' a class with ranges and '^' negation;
// a class never closed matches nothing.
TESSERA_UTILS_EXPORT QString globToRegular(const QString& pattern);

} // namespace tessera::utils
