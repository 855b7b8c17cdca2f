#include "platform/core/QDecNumber.h"

#include <QLocale>
#include <cstdlib>
#include <limits>

namespace {

constexpr qint64 pow10(int n)
{
    qint64 r = 1;
    while (n-- > 0)
        r *= 10;
    return r;
}

// Exponents beyond this are treated as malformed rather than clamped: no
// decimal column holds them and the arithmetic below stays in int range.
constexpr int maxExponentMagnitude = 100000000;

} // namespace

QDecNumber::QDecNumber() = default;

QDecNumber::QDecNumber(qint64 coefficient, int exponent)
    : coeff(coefficient), exp(exponent), valid(true)
{
    // Values may land in a QVariant: make sure the converters exist by then.
    metaTypeId();
    // Keep the coefficient within maxDigits so that every operation below can
    // rely on it (a full 19-digit int64 is rounded once here).
    const qint64 limit = pow10(maxDigits);
    while (coeff >= limit || coeff <= -limit) {
        const qint64 rest = coeff % 10;
        coeff /= 10;
        if (rest >= 5)
            ++coeff;
        else if (rest <= -5)
            --coeff;
        ++exp;
    }
}

int QDecNumber::digits() const
{
    qint64 c = coeff < 0 ? -coeff : coeff;
    int n = 1;
    while (c >= 10) {
        c /= 10;
        ++n;
    }
    return n;
}

QDecNumber QDecNumber::fromString(const QString& text, bool* ok)
{
    if (ok)
        *ok = false;
    const QString s = text.trimmed();
    int i = 0;
    const int n = s.size();
    bool negative = false;
    if (i < n && (s[i] == QLatin1Char('+') || s[i] == QLatin1Char('-'))) {
        negative = s[i] == QLatin1Char('-');
        ++i;
    }

    qint64 coefficient = 0;
    int kept = 0;          // significant digits in `coefficient`
    long long exponent = 0;
    bool anyDigit = false;
    bool afterPoint = false;
    int firstDropped = -1; // first digit that did not fit, for rounding
    for (; i < n; ++i) {
        const QChar c = s[i];
        if (c == QLatin1Char('.')) {
            if (afterPoint)
                return {};
            afterPoint = true;
            continue;
        }
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            break;
        anyDigit = true;
        const int d = c.unicode() - '0';
        if (kept == 0 && d == 0) {
            // Leading zeros carry no digits, only the position of the point.
            if (afterPoint)
                --exponent;
            continue;
        }
        if (kept < maxDigits) {
            coefficient = coefficient * 10 + d;
            ++kept;
            if (afterPoint)
                --exponent;
        } else {
            if (firstDropped < 0)
                firstDropped = d;
            if (!afterPoint)
                ++exponent;
        }
    }
    if (!anyDigit)
        return {};

    if (i < n && (s[i] == QLatin1Char('e') || s[i] == QLatin1Char('E'))) {
        ++i;
        bool negExp = false;
        if (i < n && (s[i] == QLatin1Char('+') || s[i] == QLatin1Char('-'))) {
            negExp = s[i] == QLatin1Char('-');
            ++i;
        }
        long long e = 0;
        bool expDigit = false;
        for (; i < n && s[i] >= QLatin1Char('0') && s[i] <= QLatin1Char('9'); ++i) {
            expDigit = true;
            if (e <= maxExponentMagnitude)
                e = e * 10 + (s[i].unicode() - '0');
        }
        if (!expDigit)
            return {};
        exponent += negExp ? -e : e;
    }
    if (i != n)
        return {};
    if (coefficient == 0)
        exponent = qBound<long long>(-maxExponentMagnitude, exponent, maxExponentMagnitude);
    if (exponent > maxExponentMagnitude || exponent < -maxExponentMagnitude)
        return {};

    if (firstDropped >= 5)
        ++coefficient;   // may reach 10^maxDigits: the constructor rounds it back
    if (ok)
        *ok = true;
    return QDecNumber(negative ? -coefficient : coefficient, int(exponent));
}

QDecNumber QDecNumber::fromDouble(double value)
{
    if (!qIsFinite(value))
        return {};
    return fromString(QString::number(value, 'g', QLocale::FloatingPointShortest));
}

QString QDecNumber::toString() const
{
    if (!valid)
        return QStringLiteral("NaN");
    // The magnitude of the most negative coefficient cannot occur: the
    // constructor keeps coefficients within maxDigits.
    const QString d = QString::number(coeff < 0 ? -coeff : coeff);
    const int n = d.size();
    const long long adjusted = static_cast<long long>(exp) + n - 1;
    QString out;
    if (coeff < 0)
        out += QLatin1Char('-');
    if (exp <= 0 && adjusted >= -6) {
        if (exp == 0) {
            out += d;
        } else {
            const int point = n + exp;
            if (point > 0)
                out += d.left(point) + QLatin1Char('.') + d.mid(point);
            else
                out += QLatin1String("0.") + QString(-point, QLatin1Char('0')) + d;
        }
    } else {
        out += d.at(0);
        if (n > 1)
            out += QLatin1Char('.') + d.mid(1);
        out += QLatin1Char('E');
        out += adjusted >= 0 ? QLatin1Char('+') : QLatin1Char('-');
        out += QString::number(adjusted < 0 ? -adjusted : adjusted);
    }
    return out;
}

double QDecNumber::toDouble() const
{
    if (!valid)
        return std::numeric_limits<double>::quiet_NaN();
    if (exp == 0)
        return double(coeff);
    // The C-locale reader of QString rounds correctly, which repeated
    // multiplication by ten would not.
    return toString().toDouble();
}

QDecNumber QDecNumber::normalized() const
{
    if (!valid)
        return {};
    if (coeff == 0)
        return QDecNumber(0, 0);
    qint64 c = coeff;
    int e = exp;
    while (c % 10 == 0) {
        c /= 10;
        ++e;
    }
    return QDecNumber(c, e);
}

int QDecNumber::compare(const QDecNumber& other) const
{
    if (!valid || !other.valid)
        return int(!valid) - int(!other.valid);
    const int sa = (coeff > 0) - (coeff < 0);
    const int sb = (other.coeff > 0) - (other.coeff < 0);
    if (sa != sb)
        return sa < sb ? -1 : 1;
    if (sa == 0)
        return 0;
    // Same sign: compare magnitudes, first by the position of the leading
    // digit, then digit by digit. Rather than padding the shorter
    // coefficient with zeros (up to 2 * maxDigits digits, past 64 bits), the
    // longer one is split at the shorter one's length.
    const long long adjA = static_cast<long long>(exp) + digits();
    const long long adjB = static_cast<long long>(other.exp) + other.digits();
    int magnitude = 0;
    if (adjA != adjB) {
        magnitude = adjA < adjB ? -1 : 1;
    } else {
        const quint64 a = static_cast<quint64>(coeff < 0 ? -coeff : coeff);
        const quint64 b = static_cast<quint64>(other.coeff < 0 ? -other.coeff : other.coeff);
        const auto versus = [](quint64 longer, quint64 shorter, int extraDigits) {
            quint64 scale = 1;
            for (int k = 0; k < extraDigits; ++k)
                scale *= 10;
            const quint64 head = longer / scale;
            if (head != shorter)
                return head < shorter ? -1 : 1;
            return longer % scale != 0 ? 1 : 0;
        };
        const int da = digits(), db = other.digits();
        magnitude = da >= db ? versus(a, b, da - db) : -versus(b, a, db - da);
    }
    return sa > 0 ? magnitude : -magnitude;
}

int QDecNumber::metaTypeId()
{
    static const int id = [] {
        const int typeId = qRegisterMetaType<QDecNumber>("QDecNumber");
        QMetaType::registerConverter<QDecNumber, double>(&QDecNumber::toDouble);
        QMetaType::registerConverter<QDecNumber, QString>(&QDecNumber::toString);
        QMetaType::registerConverter<QString, QDecNumber>(
            [](const QString& text) { return QDecNumber::fromString(text); });
        QMetaType::registerComparators<QDecNumber>();
        return typeId;
    }();
    return id;
}
