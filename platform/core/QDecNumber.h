#pragma once
// A decimal number: a signed 64-bit coefficient and a power-of-ten exponent
// (value = coefficient * 10^exponent), so decimal inputs such as 0.1 are kept
// exactly. Up to 18 significant digits are held; longer inputs are rounded
// half away from zero. A default-constructed number, or one parsed from
// text that is not a number, is invalid (the counterpart of a NaN).
//
// Carried in QVariant under the meta-type name "QDecNumber"; the type and its
// converters to double and QString are registered the first time a number is
// made or metaTypeId() is called, so QVariant::toDouble() and toString()
// work on such variants.

#include "platform/core/CoreExport.h"

#include <QMetaType>
#include <QString>
#include <QtGlobal>

class TESSERA_CORE_EXPORT QDecNumber {
public:
    // Largest number of significant digits kept.
    static constexpr int maxDigits = 18;

    QDecNumber();
    QDecNumber(qint64 coefficient, int exponent = 0);

    // Plain or scientific notation with an optional sign and surrounding
    // blanks: "12", "-0.50", "+1.5e-3", ".5", "1E10". `ok` tells whether the
    // whole text was a number.
    static QDecNumber fromString(const QString& text, bool* ok = nullptr);
    // The shortest decimal that reads back as the same double; invalid for
    // NaN and infinities.
    static QDecNumber fromDouble(double value);

    bool isValid() const { return valid; }
    bool isZero() const { return valid && coeff == 0; }
    bool isNegative() const { return valid && coeff < 0; }

    qint64 coefficient() const { return coeff; }
    int exponent() const { return exp; }
    // Number of digits of the coefficient (1 for zero).
    int digits() const;

    // Text in the usual decimal form: plain notation when the exponent is
    // not positive and the number is not tiny ("123.45", "0.001"), else
    // scientific ("1.5E+7", "1E-9"). "NaN" for an invalid number.
    QString toString() const;
    // The nearest double; NaN for an invalid number.
    double toDouble() const;

    // The same value with trailing zeros of the coefficient removed.
    QDecNumber normalized() const;

    // Numerical comparison: 1.50 equals 1.5. An invalid number equals only
    // another invalid one and sorts after every valid number.
    int compare(const QDecNumber& other) const;
    bool operator==(const QDecNumber& o) const { return compare(o) == 0; }
    bool operator!=(const QDecNumber& o) const { return compare(o) != 0; }
    bool operator<(const QDecNumber& o) const { return compare(o) < 0; }
    bool operator<=(const QDecNumber& o) const { return compare(o) <= 0; }
    bool operator>(const QDecNumber& o) const { return compare(o) > 0; }
    bool operator>=(const QDecNumber& o) const { return compare(o) >= 0; }

    // The id of the meta-type "QDecNumber", registering it (with its
    // converters and comparators) on the first call. Thread-safe.
    static int metaTypeId();

private:
    qint64 coeff = 0;
    int exp = 0;
    bool valid = false;
};

Q_DECLARE_METATYPE(QDecNumber)
