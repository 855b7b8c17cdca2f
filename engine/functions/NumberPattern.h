#pragma once
// A sectioned custom number pattern such as "#,##0.00;(#,##0.00);zero":
// digit placeholders (`#`, `0`), grouping and scaling commas, `.`, `%`, `‰`,
// exponent notation (`E+`, `E-`), `\` escapes and literal text, in up to
// three sections for positive, negative and zero values.

#include <QLocale>
#include <QString>
#include <QVector>
#include <optional>

namespace tessera::engine {

class NumberPattern {
public:
    // The parsed pattern, or nothing when it is invalid (a trailing `E`, an
    // `E` without `+` or `-`, a scale out of range).
    static std::optional<NumberPattern> parse(const QString& pattern);

    // `value` written by the pattern in the locale's symbols.
    QString format(double value, const QLocale& locale) const;

    // A piece of literal text and where it stands among the placeholders.
    struct Piece {
        enum Kind { Prefix, IntegerDigits, FractionDigits, ExponentDigits, Suffix };
        Kind kind = Prefix;
        int position = 0; // placeholders of its part seen before it
        QString text;
    };

    struct Section {
        bool exponent = false;
        bool grouping = false;
        bool invalid = false;
        bool exponentSignAlways = false;
        bool zeroPadded = false;
        bool commaBeforePlaceholder = false;
        int integerPlaceholders = 0;  // at most 15
        int fractionPlaceholders = 0; // at most 15
        int fractionZeros = 0;        // fraction digits always shown (up to the last `0`)
        int exponentPlaceholders = 0;
        int scale = 0;                // power of ten applied to the value
        QVector<Piece> pieces;
    };

private:
    QVector<Section> sections;
};

} // namespace tessera::engine
