#include "platform/utils/NumberFormat.h"

#include <QVarLengthArray>

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace tessera::utils {

namespace {

// Decimal digits of |x| with their exponent: |x| = 0.d1d2...dn * 10^(point),
// i.e. `point` digits stand before the decimal point.
struct DecimalDigits {
    char digits[24] = {};
    int count = 0;
    int point = 0;
};

// At most 17 significant digits; printf rounds the binary value correctly, so
// 15 digits give back the decimal text a user typed (2.675, not 2.67499999...).
DecimalDigits decimalDigits(double absValue, int significant)
{
    DecimalDigits result;
    if (significant < 1)
        significant = 1;
    if (significant > 17)
        significant = 17;
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.*e", significant - 1, absValue);
    const char* p = buffer;
    for (; *p && *p != 'e'; ++p) {
        if (*p >= '0' && *p <= '9')
            result.digits[result.count++] = *p;
    }
    const int exponent = *p == 'e' ? std::atoi(p + 1) : 0;
    result.point = exponent + 1;
    // Trailing zeros carry no information and would only be stripped later.
    while (result.count > 1 && result.digits[result.count - 1] == '0')
        --result.count;
    if (result.count == 1 && result.digits[0] == '0')
        result.point = 1;
    return result;
}

// `d` cut to `significant` digits, halves away from zero. Rounding the
// 15-digit decimal text rather than the binary value makes 1.25 and 2.675
// round as written.
DecimalDigits roundedDigits(double absValue, int significant)
{
    DecimalDigits d = decimalDigits(absValue, significant > 15 ? significant : 15);
    if (significant < 1)
        significant = 1;
    if (d.count <= significant)
        return d;
    const bool up = d.digits[significant] >= '5';
    d.count = significant;
    if (up) {
        int i = d.count - 1;
        while (i >= 0 && d.digits[i] == '9')
            --i;
        if (i < 0) {
            // All nines: 9.99 becomes 10.
            d.digits[0] = '1';
            d.count = 1;
            ++d.point;
            return d;
        }
        ++d.digits[i];
        d.count = i + 1;
    }
    while (d.count > 1 && d.digits[d.count - 1] == '0')
        --d.count;
    return d;
}

// Plain C-locale digits (no exponent) of a decimal digit sequence.
QString plainText(const DecimalDigits& d, bool negative)
{
    QString text;
    text.reserve(d.count + std::abs(d.point) + 3);
    const bool zero = d.count == 1 && d.digits[0] == '0';
    if (negative && !zero)
        text += QLatin1Char('-');
    if (d.point <= 0) {
        text += QLatin1String("0.");
        text += QString(-d.point, QLatin1Char('0'));
        text += QLatin1String(d.digits, d.count);
        return text;
    }
    if (d.point >= d.count) {
        text += QLatin1String(d.digits, d.count);
        text += QString(d.point - d.count, QLatin1Char('0'));
        return text;
    }
    text += QLatin1String(d.digits, d.point);
    text += QLatin1Char('.');
    text += QLatin1String(d.digits + d.point, d.count - d.point);
    return text;
}

// C-locale number text into the locale's symbols; digits are shifted to the
// locale's zero digit so that non-Latin digit sets come out right.
QString localize(const QString& cText, const QLocale& locale)
{
    const QChar zero = locale.zeroDigit();
    QString text;
    text.reserve(cText.size());
    for (const QChar c : cText) {
        const ushort u = c.unicode();
        if (u >= '0' && u <= '9')
            text += QChar(ushort(zero.unicode() + (u - '0')));
        else if (u == '.')
            text += locale.decimalPoint();
        else if (u == '-')
            text += locale.negativeSign();
        else if (u == '+')
            text += locale.positiveSign();
        else if (u == 'e')
            text += locale.exponential();
        else
            text += c;
    }
    return text;
}

bool isLocaleDigit(QChar c)
{
    return c.isDigit();
}

} // namespace

double getRound(double x, int digits)
{
    if (!std::isfinite(x) || x == 0.0)
        return x;
    const DecimalDigits d = decimalDigits(std::fabs(x), 15);
    // Number of significant digits that survive rounding at 10^-digits.
    const long long keep = static_cast<long long>(d.point) + digits;
    if (keep >= d.count)
        return x;
    if (keep < 0)
        return 0.0;

    char rounded[24];
    int count = static_cast<int>(keep);
    int point = d.point;
    for (int i = 0; i < count; ++i)
        rounded[i] = d.digits[i];
    if (d.digits[count] >= '5') {
        // Halves go away from zero: carry upwards through the kept digits.
        int i = count - 1;
        while (i >= 0 && rounded[i] == '9') {
            rounded[i] = '0';
            --i;
        }
        if (i >= 0) {
            ++rounded[i];
        } else {
            // All nines (or nothing kept): the result gains a leading 1.
            for (int j = count; j > 0; --j)
                rounded[j] = rounded[j - 1];
            rounded[0] = '1';
            ++count;
            ++point;
        }
    }
    if (count == 0)
        return 0.0;

    char buffer[48];
    std::snprintf(buffer, sizeof buffer, "%.*se%d", count, rounded, point - count);
    const double value = std::strtod(buffer, nullptr);
    return x < 0 ? -value : value;
}

QString toStringByMode(double x, DigitsMode mode, int digits)
{
    if (digits < 1)
        digits = 1;
    if (mode == DigitsMode::Significant || !std::isfinite(x) || std::fabs(x) >= 1e15)
        return QString::number(x, 'g', digits);
    if (x == 0.0)
        return QStringLiteral("0");
    return plainText(roundedDigits(std::fabs(x), digits), x < 0);
}

QString separateDouble(double x, const QLocale& locale)
{
    const QString text = toLocalizedString(x, locale);
    if (locale.numberOptions() & QLocale::OmitGroupSeparator)
        return text;
    return separateThousands(text, locale.groupSeparator(), locale.decimalPoint());
}

QString toLocalizedString(double x, const QLocale& locale)
{
    return localize(toStringByMode(x, DigitsMode::DigitsAfterPoint, 15), locale);
}

QString separateThousands(const QString& number, QChar groupSeparator, QChar decimalPoint, int groupSize)
{
    if (groupSize < 1)
        return number;
    // The integer digits are the first run of digits, ended by the decimal
    // point, an exponent or anything else that is not a digit.
    int begin = 0;
    while (begin < number.size() && !isLocaleDigit(number[begin]) && number[begin] != decimalPoint)
        ++begin;
    int end = begin;
    while (end < number.size() && isLocaleDigit(number[end]))
        ++end;
    const int digitCount = end - begin;
    if (digitCount <= groupSize)
        return number;

    QString result;
    result.reserve(number.size() + digitCount / groupSize);
    result += number.leftRef(begin);
    for (int i = begin; i < end; ++i) {
        const int remaining = end - i;
        if (i > begin && remaining % groupSize == 0)
            result += groupSeparator;
        result += number[i];
    }
    result += number.midRef(end);
    return result;
}

QString castExponentialFormat(const QString& number, const QLocale& locale, bool (*isDigit)(int))
{
    const QChar exponential = locale.exponential();
    int at = number.lastIndexOf(exponential, -1, Qt::CaseInsensitive);
    if (at < 0 && exponential.toLower() != QLatin1Char('e'))
        at = number.lastIndexOf(QLatin1Char('e'), -1, Qt::CaseInsensitive);
    if (at < 0)
        return number;

    const QChar zero = locale.zeroDigit();
    auto digitValue = [&](QChar c) -> int {
        const int v = c.unicode() - zero.unicode();
        if (v >= 0 && v <= 9)
            return v;
        return c.digitValue() >= 0 ? c.digitValue() : 0;
    };

    // The exponent: an optional sign and digits.
    long exponent = 0;
    bool negativeExponent = false;
    bool anyExponentDigit = false;
    for (int i = at + 1; i < number.size(); ++i) {
        const QChar c = number[i];
        if (isDigit(c.unicode())) {
            anyExponentDigit = true;
            if (exponent < 100000)
                exponent = exponent * 10 + digitValue(c);
        } else if (c == locale.negativeSign() || c == QLatin1Char('-')) {
            negativeExponent = true;
        } else if (c != locale.positiveSign() && c != QLatin1Char('+')) {
            return number; // not an exponent after all
        }
    }
    if (!anyExponentDigit)
        return number;
    if (negativeExponent)
        exponent = -exponent;

    // The mantissa: everything before the first digit is kept as a prefix
    // (the sign), then its digits and where the decimal point stood.
    QString prefix;
    QVarLengthArray<QChar, 32> digits;
    int integerDigits = -1;
    bool seenDigit = false;
    for (int i = 0; i < at; ++i) {
        const QChar c = number[i];
        if (isDigit(c.unicode())) {
            seenDigit = true;
            digits.append(c);
        } else if (c == locale.decimalPoint()) {
            if (integerDigits < 0)
                integerDigits = digits.size();
        } else if (!seenDigit) {
            prefix += c;
        }
    }
    if (digits.isEmpty())
        return number;
    if (integerDigits < 0)
        integerDigits = digits.size();

    const long point = integerDigits + exponent;
    const int count = digits.size();
    QString integerPart;
    QString fractionPart;
    if (point <= 0) {
        fractionPart = QString(int(-point), zero);
        for (const QChar c : digits)
            fractionPart += c;
    } else if (point >= count) {
        for (const QChar c : digits)
            integerPart += c;
        integerPart += QString(int(point - count), zero);
    } else {
        for (int i = 0; i < count; ++i)
            (i < point ? integerPart : fractionPart) += digits[i];
    }
    // Leading zeros of the integer part and trailing zeros of the fraction
    // come from the exponent form only.
    int lead = 0;
    while (lead < integerPart.size() - 1 && integerPart[lead] == zero)
        ++lead;
    integerPart.remove(0, lead);
    if (integerPart.isEmpty())
        integerPart = zero;
    int fractionEnd = fractionPart.size();
    while (fractionEnd > 0 && fractionPart[fractionEnd - 1] == zero)
        --fractionEnd;
    fractionPart.truncate(fractionEnd);

    QString result = prefix + integerPart;
    if (!fractionPart.isEmpty()) {
        result += locale.decimalPoint();
        result += fractionPart;
    }
    return result;
}

} // namespace tessera::utils
