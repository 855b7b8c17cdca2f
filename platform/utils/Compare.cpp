#include "platform/utils/Compare.h"

#include <QByteArray>
#include <QDate>
#include <QDateTime>
#include <QString>
#include <QTime>
#include <cmath>
#include <cstdint>

namespace tessera::utils {

namespace {

// Kinds in the order in which they sort against each other. Comparing kinds
// first keeps the order total (numbers against their text forms would not
// be transitive).
enum class Kind { Signed, Unsigned, Real, Text, Bytes, DateTime, Time, Other, Invalid };

bool isNumberKind(Kind k)
{
    return k == Kind::Signed || k == Kind::Unsigned || k == Kind::Real;
}

Kind kindOf(const QVariant& v)
{
    if (!v.isValid())
        return Kind::Invalid;
    switch (v.userType()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::LongLong:
    case QMetaType::Short:
    case QMetaType::Char:
    case QMetaType::SChar:
        return Kind::Signed;
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
    case QMetaType::UShort:
    case QMetaType::UChar:
        return Kind::Unsigned;
    case QMetaType::Double:
    case QMetaType::Float:
        return Kind::Real;
    case QMetaType::QString:
    case QMetaType::QChar:
        return Kind::Text;
    case QMetaType::QByteArray:
        return Kind::Bytes;
    case QMetaType::QDate:
    case QMetaType::QDateTime:
        return Kind::DateTime;
    case QMetaType::QTime:
        return Kind::Time;
    default:
        // Decimal numbers and other registered number types convert to
        // double; they compare by that value.
        if (v.userType() >= QMetaType::User && v.canConvert(QMetaType::Double))
            return Kind::Real;
        return Kind::Other;
    }
}

template<typename T>
int sign(const T& a, const T& b)
{
    return a < b ? -1 : (b < a ? 1 : 0);
}

// 2^63 and 2^64 are exact doubles.
constexpr double twoTo63 = 9223372036854775808.0;
constexpr double twoTo64 = 18446744073709551616.0;

// NaN sorts after every other number and equal to itself.
int compareReal(double a, double b)
{
    const bool nanA = std::isnan(a);
    const bool nanB = std::isnan(b);
    if (nanA || nanB)
        return sign(nanA, nanB);
    return sign(a, b);
}

// Exact comparison of an integer with a double, without rounding the
// integer to double precision.
int compareSignedReal(std::int64_t i, double d)
{
    if (std::isnan(d))
        return -1;
    if (d < -twoTo63)
        return 1;
    if (d >= twoTo63)
        return -1;
    const auto whole = static_cast<std::int64_t>(d); // toward zero
    if (i != whole)
        return sign(i, whole);
    const double fraction = d - static_cast<double>(whole);
    return fraction > 0 ? -1 : (fraction < 0 ? 1 : 0);
}

int compareUnsignedReal(std::uint64_t u, double d)
{
    if (std::isnan(d))
        return -1;
    if (d < 0)
        return 1;
    if (d >= twoTo64)
        return -1;
    const auto whole = static_cast<std::uint64_t>(d);
    if (u != whole)
        return sign(u, whole);
    return d - static_cast<double>(whole) > 0 ? -1 : 0;
}

int compareSignedUnsigned(std::int64_t i, std::uint64_t u)
{
    if (i < 0)
        return -1;
    return sign(static_cast<std::uint64_t>(i), u);
}

int compareNumbers(const QVariant& a, Kind ka, const QVariant& b, Kind kb)
{
    if (ka == Kind::Signed && kb == Kind::Signed)
        return sign(a.toLongLong(), b.toLongLong());
    if (ka == Kind::Unsigned && kb == Kind::Unsigned)
        return sign(a.toULongLong(), b.toULongLong());
    if (ka == Kind::Real && kb == Kind::Real)
        return compareReal(a.toDouble(), b.toDouble());
    if (ka == Kind::Signed && kb == Kind::Unsigned)
        return compareSignedUnsigned(a.toLongLong(), b.toULongLong());
    if (ka == Kind::Signed && kb == Kind::Real)
        return compareSignedReal(a.toLongLong(), b.toDouble());
    if (ka == Kind::Unsigned && kb == Kind::Real)
        return compareUnsignedReal(a.toULongLong(), b.toDouble());
    // The mirrored cases.
    return -compareNumbers(b, kb, a, ka);
}

QDateTime toDateTime(const QVariant& v)
{
    if (v.userType() == QMetaType::QDate) {
        const QDate date = v.toDate();
        return date.isValid() ? date.startOfDay() : QDateTime();
    }
    return v.toDateTime();
}

// Invalid dates and times first, as QDateTime orders them.
int compareDateTimes(const QDateTime& a, const QDateTime& b)
{
    if (!a.isValid() || !b.isValid())
        return sign(a.isValid(), b.isValid());
    return sign(a, b);
}

int compareTimes(const QTime& a, const QTime& b)
{
    if (!a.isValid() || !b.isValid())
        return sign(a.isValid(), b.isValid());
    return sign(a.msecsSinceStartOfDay(), b.msecsSinceStartOfDay());
}

int compareOther(const QVariant& a, const QVariant& b)
{
    const int byText = QString::compare(a.toString(), b.toString(), Qt::CaseSensitive);
    if (byText != 0)
        return byText < 0 ? -1 : 1;
    return sign(a.userType(), b.userType());
}

} // namespace

int compare(const QVariant& a, const QVariant& b)
{
    const Kind ka = kindOf(a);
    const Kind kb = kindOf(b);
    if (isNumberKind(ka) && isNumberKind(kb))
        return compareNumbers(a, ka, b, kb);
    if (ka != kb)
        return sign(static_cast<int>(ka), static_cast<int>(kb));
    switch (ka) {
    case Kind::Text: {
        const int c = QString::compare(a.toString(), b.toString(), Qt::CaseSensitive);
        return c < 0 ? -1 : (c > 0 ? 1 : 0);
    }
    case Kind::Bytes: {
        const int c = a.toByteArray().compare(b.toByteArray());
        return c < 0 ? -1 : (c > 0 ? 1 : 0);
    }
    case Kind::DateTime:
        return compareDateTimes(toDateTime(a), toDateTime(b));
    case Kind::Time:
        return compareTimes(a.toTime(), b.toTime());
    case Kind::Other:
        return compareOther(a, b);
    default: // Invalid: all invalid values are equal
        return 0;
    }
}

} // namespace tessera::utils
