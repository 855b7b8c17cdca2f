#include "engine/functions/ValueConversions.h"

#include "platform/core/SqlTypes.h"
#include "platform/dp/GeometryAttributeDefinition.h"
#include "platform/dp/RenditionAttributeDefinition.h"
#include "platform/utils/Compare.h"

#include <QSqlQuery>
#include <QSqlResult>
#include <cerrno>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <locale.h>
#include <stdexcept>

namespace tessera::engine {

const QString dateFormat = QStringLiteral("yyyy-MM-dd");
const QString timeFormat = QStringLiteral("hh:mm:ss.zzz");
const QString dateTimeFormat = QStringLiteral("yyyy-MM-dd ") + timeFormat;

namespace {

// Ticks of 100 ns between 1601-01-01 and 1970-01-01 (Windows file times).
constexpr long long fileTimeEpochOffset = 116444736000000000LL;
// Day number of 1970-01-01 on the OLE Automation date scale.
constexpr long long oleEpochDay = 25569;
constexpr long long msPerDay = 86400000LL;
// Beyond this many days the milliseconds would not fit in 64 bits.
constexpr double maxOleDays = 1e11;

// std::stod reads with the process locale, which a Qt application takes from
// the environment: a decimal comma would make "1.5" read as 1. Numbers in SQL
// text are always C-locale numbers, so read them with a C locale of our own,
// keeping std::stod's failure rules (no conversion, or ERANGE).
locale_t cLocale()
{
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    return locale;
}

double stodC(const std::string& s)
{
    const char* begin = s.c_str();
    char* end = nullptr;
    const int savedErrno = errno;
    errno = 0;
    const double d = strtod_l(begin, &end, cLocale());
    const int error = errno;
    errno = savedErrno;
    if (end == begin)
        throw std::invalid_argument("stod");
    if (error == ERANGE)
        throw std::out_of_range("stod");
    return d;
}

// The text of a value as SQLite renders it, read as Latin-1 (date texts are
// ASCII).
QString asciiText(sqlite3_value* value)
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
    return text ? QString::fromLatin1(text) : QString();
}

QDateTime startOfDay(long long v)
{
    const QDate date(int(v / 10000), int((v % 10000) / 100), int(v % 100));
    if (!date.isValid())
        return {};
    return date.startOfDay(Qt::LocalTime);
}

} // namespace

std::string toString(sqlite3_value* value)
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
    if (!text)
        throw std::logic_error("toString: the SQL value is NULL");
    return std::string(text);
}

QString toQString(sqlite3_value* value)
{
    // Not QString::fromUtf16: it would drop a leading byte-order mark, and
    // text functions count every UTF-16 code unit the user stored.
    const auto* text = static_cast<const QChar*>(sqlite3_value_text16(value));
    return text ? QString(text, -1) : QString();
}

QString toQStringUTF8(sqlite3_value* value)
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
    return text ? QString::fromUtf8(text) : QString();
}

QString toString(const QDate& date)
{
    return date.toString(Qt::ISODate);
}

QString toString(const QTime& time)
{
    return time.toString(timeFormat);
}

QString toString(const QDateTime& dateTime)
{
    return dateTime.toString(dateTimeFormat);
}

QTime toTime(sqlite3_value* value)
{
    if (sqlite3_value_type(value) == SQLITE_NULL)
        return {};
    const QString text = asciiText(value);
    const QTime fromDateTime = QDateTime::fromString(text, Qt::ISODate).time();
    if (fromDateTime.isValid())
        return fromDateTime;
    const QTime iso = QTime::fromString(text, Qt::ISODate);
    if (iso.isValid())
        return iso;
    return QTime::fromString(text, timeFormat);
}

QDate toDate(sqlite3_value* value)
{
    if (sqlite3_value_type(value) == SQLITE_NULL)
        return {};
    const QString text = asciiText(value);
    const QDate fromDateTime = QDateTime::fromString(text, Qt::ISODate).date();
    if (fromDateTime.isValid())
        return fromDateTime;
    return QDate::fromString(text, Qt::ISODate);
}

QDateTime toDateTime(sqlite3_value* value)
{
    if (sqlite3_value_type(value) == SQLITE_NULL)
        return {};
    return QDateTime::fromString(asciiText(value), Qt::ISODate);
}

QDate yymmdd2Date(int v)
{
    return QDate(v / 10000, (v % 10000) / 100, v % 100);
}

QDateTime int2Date(long long v)
{
    if (v >= 10000101LL && v < 99991232LL)
        return startOfDay(v);
    if (v < 0 || v >= (1LL << 34)) {
        // (v - offset + 5000) / 10000 in milliseconds, truncated as the
        // division of integers; v - offset would overflow for the smallest
        // inputs, so quotients and remainders are taken apart first.
        const long long rest = v % 10000 - fileTimeEpochOffset % 10000 + 5000;
        long long ms = v / 10000 - fileTimeEpochOffset / 10000 + rest / 10000;
        const long long below = rest % 10000;
        if (ms > 0 && below < 0)
            --ms;
        else if (ms < 0 && below > 0)
            ++ms;
        return QDateTime::fromMSecsSinceEpoch(ms);
    }
    return QDateTime::fromSecsSinceEpoch(v);
}

QDateTime real2Date(double v)
{
    if (!std::isfinite(v))
        return {};
    if (v >= 10000101.0 && v <= 99991231.0 && v == std::floor(v))
        return startOfDay(static_cast<long long>(v));
    const double days = std::floor(v);
    if (std::fabs(days) > maxOleDays)
        return {};
    const long long ms = std::llround((v - days) * 86400000.0);
    return QDateTime::fromMSecsSinceEpoch((static_cast<long long>(days) - oleEpochDay) * msPerDay + ms);
}

qint64 toInt64(sqlite3_value* value, bool* ok)
{
    if (ok)
        *ok = false;
    switch (sqlite3_value_type(value)) {
    case SQLITE_INTEGER:
    case SQLITE_FLOAT:
        if (ok)
            *ok = true;
        return sqlite3_value_int64(value);
    case SQLITE_TEXT: {
        if (ok)
            *ok = true;
        const std::string s = toString(value);
        try {
            if (s.find_first_of("eE") != std::string::npos) {
                const double d = std::trunc(stodC(s));
                // A double beyond the 64-bit range is out of range like an
                // overflowing exponent; -2^63 itself is representable.
                if (!(d >= -9223372036854775808.0 && d < 9223372036854775808.0))
                    throw std::out_of_range("toInt64");
                return static_cast<qint64>(d);
            }
            return std::stoll(s, nullptr, 10);
        } catch (const std::exception&) {
            if (ok)
                *ok = false;
            return 0;
        }
    }
    default:
        return 0;
    }
}

double toDouble(sqlite3_value* value, bool* ok)
{
    if (ok)
        *ok = false;
    switch (sqlite3_value_type(value)) {
    case SQLITE_INTEGER:
    case SQLITE_FLOAT:
        if (ok)
            *ok = true;
        return sqlite3_value_double(value);
    case SQLITE_TEXT:
        if (ok)
            *ok = true;
        try {
            return stodC(toString(value));
        } catch (const std::exception&) {
            if (ok)
                *ok = false;
            return 0.0;
        }
    default:
        return 0.0;
    }
}

QString escapeString(QString s, char quote)
{
    const QString q(QLatin1Char{quote});
    s.replace(q, q + q);
    return q + s + q;
}

bool isGeometry(const QSharedDataPointer<dp::AttributeDefinition>& attribute)
{
    return dynamic_cast<const dp::GeometryAttributeDefinition*>(attribute.constData()) != nullptr;
}

bool isStyle(const QSharedDataPointer<dp::AttributeDefinition>& attribute)
{
    return dynamic_cast<const dp::RenditionAttributeDefinition*>(attribute.constData()) != nullptr;
}

int variantType(const QVariant& v)
{
    if (!v.isValid())
        return 0x7fffffff;
    const int type = v.userType();
    return isPlainInt(type) ? int(QMetaType::LongLong) : type;
}

bool variantCompare(const QVariant& a, const QVariant& b)
{
    const int ta = variantType(a);
    const int tb = variantType(b);
    if (ta != tb)
        return ta < tb;
    return utils::compare(a, b) < 0;
}

sqlite3_stmt* handle(const QSqlQuery& query)
{
    const QSqlResult* result = query.result();
    if (!result)
        return nullptr;
    const QVariant h = result->handle();
    if (!h.isValid() || qstrcmp(h.typeName(), "sqlite3_stmt*") != 0)
        return nullptr;
    return *static_cast<sqlite3_stmt* const*>(h.constData());
}

} // namespace tessera::engine
