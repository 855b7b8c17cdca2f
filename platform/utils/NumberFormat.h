#pragma once
// Number rounding and number-to-text helpers shared by the SQL functions.

#include "platform/utils/UtilsExport.h"

#include <QChar>
#include <QLocale>
#include <QString>

namespace tessera::utils {

// x rounded to `digits` decimal digits (negative digits round to tens,
// hundreds, ...), halves away from zero, computed so that decimal inputs such
// as 2.675 round as written (2.68).
TESSERA_UTILS_EXPORT double getRound(double x, int digits);

// How toStringByMode counts `digits`.
enum class DigitsMode : int {
    Significant = 0,      // `digits` significant digits
    DigitsAfterPoint = 1, // at most `digits` significant digits, trailing zeros dropped, no exponent below 1e15
};
// C-locale text of x: no grouping, '.' as decimal point.
TESSERA_UTILS_EXPORT QString toStringByMode(double x, DigitsMode mode, int digits);

// The locale's text of x with digit grouping and up to 15 significant digits.
TESSERA_UTILS_EXPORT QString separateDouble(double x, const QLocale& locale);
// The locale's text of x without digit grouping, up to 15 significant digits.
TESSERA_UTILS_EXPORT QString toLocalizedString(double x, const QLocale& locale);

// Inserts `groupSeparator` every `groupSize` digits into the integer digits of
// `number` (which may have a sign and a fraction after `decimalPoint`).
TESSERA_UTILS_EXPORT QString separateThousands(const QString& number, QChar groupSeparator, QChar decimalPoint, int groupSize = 3);

// Rewrites a number text in exponent form ("1.5e+20") as plain digits in the
// locale's symbols; `isDigit` tells which characters count as digits.
TESSERA_UTILS_EXPORT QString castExponentialFormat(const QString& number, const QLocale& locale, bool (*isDigit)(int));

} // namespace tessera::utils
