#include "engine/functions/StringFunctions.h"

#include "engine/functions/CaseMapping.h"
#include "engine/functions/TextArgument.h"
#include "engine/functions/Utf8.h"
#include "engine/functions/ValueConversions.h"
#include "engine/geometry/GeometryConversions.h"
#include "platform/geometry/Geometry.h"
#include "platform/utils/NumberFormat.h"

#include <QLocale>
#include <QString>
#include <QVarLengthArray>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

namespace tessera::engine {

namespace {

constexpr char trimSpaces[] = "\t\n\v\f\r ";

bool isTrimSpace(char c)
{
    return c != '\0' && std::char_traits<char>::find(trimSpaces, sizeof trimSpaces - 1, c) != nullptr;
}

bool isWordSpace(ushort u)
{
    if (u < 128)
        return (u >= 9 && u <= 13) || u == 32;
    return u == 0x85 || u == 0xA0 || QChar(u).isSpace();
}

bool isWordLetter(ushort u)
{
    if (u < 128)
        return (u >= 'A' && u <= 'Z') || (u >= 'a' && u <= 'z');
    return QChar(u).isLetter();
}

// True when a result of `bytes` stays within the connection's length limit;
// otherwise the "too big" error is set. Guards the functions that build texts
// from a count, before they allocate, so that a huge count is an error rather
// than an attempt to allocate gigabytes.
bool fitsLengthLimit(sqlite3_context* ctx, qint64 bytes)
{
    const int limit = sqlite3_limit(sqlite3_context_db_handle(ctx), SQLITE_LIMIT_LENGTH, -1);
    if (bytes > limit) {
        sqlite3_result_error_toobig(ctx);
        return false;
    }
    return true;
}

// `count` copies of an ASCII character as a UTF-8 result.
void resultRepeated(sqlite3_context* ctx, char c, qint64 count)
{
    auto* out = static_cast<char*>(sqlite3_malloc64(sqlite3_uint64(count) + 1));
    if (!out) {
        sqlite3_result_error_nomem(ctx);
        return;
    }
    std::memset(out, c, std::size_t(count));
    out[count] = '\0';
    sqlite3_result_text64(ctx, out, sqlite3_uint64(count), sqlite3_free, SQLITE_UTF8);
}

bool isNull(sqlite3_value* value)
{
    return sqlite3_value_type(value) == SQLITE_NULL;
}

bool isAscii(const unsigned char* text, int length)
{
    for (int i = 0; i < length; ++i) {
        if (text[i] >= 0x80)
            return false;
    }
    return true;
}

char lowerAscii(unsigned char c)
{
    return static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
}

char upperAscii(unsigned char c)
{
    return static_cast<char>(c >= 'a' && c <= 'z' ? c - ('a' - 'A') : c);
}

// Strict UTF-8 into UTF-16. False for anything SQLite's own conversion would
// read differently (malformed sequences, surrogates, U+FFFE and U+FFFF).
template <class Buffer>
bool decodeUtf8(const unsigned char* text, int length, Buffer& units)
{
    units.reserve(length);
    for (int i = 0; i < length;) {
        const unsigned char c = text[i];
        if (c < 0x80) {
            units.append(c);
            ++i;
            continue;
        }
        int size = 0;
        const long decoded = utf8::decode(text + i, length - i, size);
        if (decoded < 0)
            return false;
        const char32_t code = char32_t(decoded);
        if (QChar::requiresSurrogates(code)) {
            units.append(QChar::highSurrogate(code));
            units.append(QChar::lowSurrogate(code));
        } else {
            units.append(static_cast<ushort>(code));
        }
        i += size;
    }
    return true;
}

// Counts what decodeUtf8 would store.
struct UnitCounter {
    int count = 0;
    void reserve(int) {}
    void append(ushort) { ++count; }
};

// Case mapping read straight from SQLite's UTF-8 text. ASCII is mapped byte
// by byte (what the full Unicode mapping does to it), most other text
// character by character; the rest is decoded into a buffer on the stack,
// sparing SQLite's conversion copy, and mapped by Qt's full Unicode rules.
void mapCase(sqlite3_context* ctx, sqlite3_value* value, char (*asciiMap)(unsigned char), bool upper)
{
    int length = 0;
    const unsigned char* text = utf8Argument(value, length);
    if (!text) {
        sqlite3_result_null(ctx);
        return;
    }
    if (isAscii(text, length)) {
        auto* out = static_cast<char*>(sqlite3_malloc(length + 1));
        if (!out) {
            sqlite3_result_error_nomem(ctx);
            return;
        }
        for (int i = 0; i < length; ++i)
            out[i] = asciiMap(text[i]);
        out[length] = '\0';
        sqlite3_result_text(ctx, out, length, sqlite3_free);
        return;
    }
    // Character by character into UTF-8 where a one-to-one mapping holds.
    const int capacity = 2 * length + 4;
    if (auto* out = static_cast<char*>(sqlite3_malloc(capacity))) {
        const int written = mapCaseUtf8(text, length, upper, out, capacity);
        if (written >= 0) {
            sqlite3_result_text(ctx, out, written, sqlite3_free);
            return;
        }
        sqlite3_free(out);
    }
    QVarLengthArray<ushort, 512> units;
    QString source;
    if (decodeUtf8(text, length, units))
        source = QString::fromRawData(reinterpret_cast<const QChar*>(units.constData()), units.size());
    else
        source = textArgument(value); // SQLite's own reading of malformed text
    resultText16(ctx, upper ? source.toUpper() : source.toLower());
}

} // namespace

void charUTF16(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    if (isNull(argv[0])) {
        sqlite3_result_null(ctx);
        return;
    }
    const ushort unit = static_cast<ushort>(sqlite3_value_int(argv[0]) & 0xFFFF);
    if (unit == 0) {
        sqlite3_result_text16(ctx, u"", 0, SQLITE_STATIC);
        return;
    }
    sqlite3_result_text16(ctx, &unit, 2, SQLITE_TRANSIENT);
}

void ascUTF16(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    const QString s = textArgument(argv[0]);
    if (s.isNull()) {
        sqlite3_result_null(ctx);
        return;
    }
    sqlite3_result_int(ctx, s.isEmpty() ? 0 : s.at(0).unicode());
}

void inStrUTF16(sqlite3_context* ctx, int argc, sqlite3_value** argv)
{
    if (argc < 2 || argc > 4) {
        sqlite3_result_error(ctx, "Invalid argument count. Usage: inStr (str1,str2[,start_at[,occurrence]]).", -1);
        return;
    }
    if (isNull(argv[0]) || isNull(argv[1])) {
        sqlite3_result_int(ctx, 0);
        return;
    }
    const int startAt = argc > 2 ? sqlite3_value_int(argv[2]) : 1;
    const int occurrence = argc > 3 ? sqlite3_value_int(argv[3]) : 1;
    if (startAt < 1) {
        sqlite3_result_error(ctx, "start_at must be >= 1", -1);
        return;
    }
    if (occurrence < 1) {
        sqlite3_result_error(ctx, "occurence must be >= 1", -1);
        return;
    }
    // Both views point into SQLite's buffers; the values are not converted
    // again while they are in use.
    const QString haystack = textArgument(argv[0]);
    const QString needle = textArgument(argv[1]);
    // The next search starts at the previous start plus the absolute index
    // found (not at the index itself): later occurrences are looked for
    // further on than a plain scan would. This is the function's contract.
    qint64 from = startAt - 1;
    int index = -1;
    for (int i = 0; i < occurrence; ++i) {
        if (from > haystack.size()) {
            index = -1;
            break;
        }
        index = haystack.indexOf(needle, static_cast<int>(from), Qt::CaseSensitive);
        if (index < 0)
            break;
        // An empty text found at the very start leaves the start where it
        // was: every further search would give the same answer.
        if (index + needle.size() == 0)
            break;
        from += index + needle.size();
    }
    sqlite3_result_int(ctx, index + 1);
}

void loCaseUTF16(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    if (isNull(argv[0])) {
        sqlite3_result_null(ctx);
        return;
    }
    mapCase(ctx, argv[0], &lowerAscii, false);
}

void upCaseUTF16(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    if (isNull(argv[0])) {
        sqlite3_result_null(ctx);
        return;
    }
    mapCase(ctx, argv[0], &upperAscii, true);
}

void leftTrimUTF8(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    if (isNull(argv[0])) {
        sqlite3_result_null(ctx);
        return;
    }
    const std::string s = toString(argv[0]);
    std::size_t begin = 0;
    while (begin < s.size() && isTrimSpace(s[begin]))
        ++begin;
    // A text made only of white space stays as it is.
    if (begin == s.size())
        begin = 0;
    sqlite3_result_text(ctx, s.data() + begin, static_cast<int>(s.size() - begin), SQLITE_TRANSIENT);
}

void rightTrimUTF8(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    if (isNull(argv[0])) {
        sqlite3_result_null(ctx);
        return;
    }
    const std::string s = toString(argv[0]);
    std::size_t end = s.size();
    while (end > 0 && isTrimSpace(s[end - 1]))
        --end;
    if (end == 0)
        end = s.size();
    sqlite3_result_text(ctx, s.data(), static_cast<int>(end), SQLITE_TRANSIENT);
}

void len(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    // NULL has no text and counts 0; an ASCII text has one unit per byte.
    int length = 0;
    const unsigned char* text = utf8Argument(argv[0], length);
    if (!text || isAscii(text, length)) {
        sqlite3_result_int(ctx, text ? length : 0);
        return;
    }
    UnitCounter units;
    sqlite3_result_int(ctx, decodeUtf8(text, length, units) ? units.count : textArgument(argv[0]).size());
}

void left_utf16(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    if (isNull(argv[0]) || isNull(argv[1])) {
        sqlite3_result_null(ctx);
        return;
    }
    const int n = sqlite3_value_int(argv[1]);
    if (n < 1) {
        sqlite3_result_null(ctx);
        return;
    }
    const QString s = textArgument(argv[0]);
    sqlite3_result_text16(ctx, s.utf16(), qMin(n, s.size()) * 2, SQLITE_TRANSIENT);
}

void right_utf16(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    if (isNull(argv[0]) || isNull(argv[1])) {
        sqlite3_result_null(ctx);
        return;
    }
    const int n = sqlite3_value_int(argv[1]);
    if (n < 1) {
        sqlite3_result_null(ctx);
        return;
    }
    const QString s = textArgument(argv[0]);
    const int count = qMin(n, s.size());
    sqlite3_result_text16(ctx, s.utf16() + (s.size() - count), count * 2, SQLITE_TRANSIENT);
}

void midUTF16(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    if (isNull(argv[0]) || isNull(argv[1]) || isNull(argv[2])) {
        sqlite3_result_null(ctx);
        return;
    }
    const int start = sqlite3_value_int(argv[1]);
    const int count = sqlite3_value_int(argv[2]);
    const QString s = textArgument(argv[0]);
    if (start < 1 || start > s.size() || count < 1) {
        sqlite3_result_null(ctx);
        return;
    }
    const int available = s.size() - (start - 1);
    sqlite3_result_text16(ctx, s.utf16() + (start - 1), qMin(count, available) * 2, SQLITE_TRANSIENT);
}

void valUTF8(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    if (isNull(argv[0])) {
        sqlite3_result_double(ctx, 0.0);
        return;
    }
    const std::string s = toString(argv[0]);
    if (s.size() > 2 && ((s[0] == '&' && (s[1] == 'H' || s[1] == 'h')) || (s[0] == '0' && (s[1] == 'X' || s[1] == 'x')))) {
        sqlite3_result_int64(ctx, std::strtoll(s.c_str() + 2, nullptr, 16));
        return;
    }
    double value = 0.0;
    try {
        value = std::stod(s);
    } catch (const std::exception&) {
        value = 0.0;
    }
    sqlite3_result_double(ctx, value);
}

void capitalizeUTF16(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    QString s = toQString(argv[0]);
    if (s.isNull()) {
        sqlite3_result_null(ctx);
        return;
    }
    ushort previous = ' ';
    QChar* data = s.data();
    for (int i = 0, n = s.size(); i < n; ++i) {
        const ushort current = data[i].unicode();
        if (isWordSpace(previous) && isWordLetter(current))
            data[i] = data[i].toUpper();
        previous = current;
    }
    resultText16(ctx, s);
}

namespace {

bool isNumeric(int type)
{
    return type == SQLITE_INTEGER || type == SQLITE_FLOAT;
}

// A real as SQLite writes it as text (its own rendering, which differs
// between SQLite versions), so that a sum continued by a text reads as the
// nested calls did.
QString realAsText(sqlite3_context* ctx, double value)
{
    sqlite3_stmt* raw = nullptr;
    sqlite3_prepare_v2(sqlite3_context_db_handle(ctx), "Select Cast(?1 As Text)", -1, &raw, nullptr);
    const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement(raw, &sqlite3_finalize);
    if (!statement || sqlite3_bind_double(raw, 1, value) != SQLITE_OK || sqlite3_step(raw) != SQLITE_ROW)
        return QString::number(value, 'g', 15);
    return QString(static_cast<const QChar*>(sqlite3_column_text16(raw, 0)), sqlite3_column_bytes16(raw, 0) / 2);
}

} // namespace

void concatUTF16(sqlite3_context* ctx, int argc, sqlite3_value** argv)
{
    if (argc < 2) {
        sqlite3_result_error(ctx, "Two or more arguments expected", -1);
        return;
    }
    // concat(a, b, c) is concat(concat(a, b), c): numbers are added from the
    // left while both sides are numbers; from the first text on, the rest is
    // joined as text. Any NULL makes the result NULL.
    int type = sqlite3_value_type(argv[0]);
    qint64 integer = 0;
    double real = 0;
    if (type == SQLITE_INTEGER)
        integer = toInt64(argv[0]);
    else if (type == SQLITE_FLOAT)
        real = toDouble(argv[0]);
    int k = 1;
    for (; k < argc; ++k) {
        const int typeB = sqlite3_value_type(argv[k]);
        if (type == SQLITE_NULL || typeB == SQLITE_NULL) {
            sqlite3_result_null(ctx);
            return;
        }
        if (!isNumeric(type) || !isNumeric(typeB))
            break;
        if (type == SQLITE_INTEGER && typeB == SQLITE_INTEGER) {
            const qint64 b = toInt64(argv[k]);
            constexpr qint64 max = std::numeric_limits<qint64>::max();
            constexpr qint64 min = std::numeric_limits<qint64>::min();
            if ((b > 0 && integer > max - b) || (b < 0 && integer < min - b)) {
                // Out of the integer range: the sum is promoted to a real.
                type = SQLITE_FLOAT;
                real = static_cast<double>(integer) + static_cast<double>(b);
            } else {
                integer += b;
            }
            continue;
        }
        const double a = type == SQLITE_INTEGER ? static_cast<double>(integer) : real;
        const double sum = a + toDouble(argv[k]);
        if (!(std::fabs(sum) <= std::numeric_limits<double>::max())) {
            sqlite3_result_error(ctx, "Sum overflow.", -1);
            return;
        }
        type = SQLITE_FLOAT;
        real = sum;
    }
    if (k == argc) {
        if (type == SQLITE_INTEGER)
            sqlite3_result_int64(ctx, integer);
        else
            sqlite3_result_double(ctx, real);
        return;
    }
    QString text = k == 1 ? toQString(argv[0]) : (type == SQLITE_INTEGER ? QString::number(integer) : realAsText(ctx, real));
    for (; k < argc; ++k) {
        if (sqlite3_value_type(argv[k]) == SQLITE_NULL) {
            sqlite3_result_null(ctx);
            return;
        }
        text += toQString(argv[k]);
    }
    resultText16(ctx, text);
}

void space(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    bool ok = false;
    const qint64 n = toInt64(argv[0], &ok);
    if (!ok || n >= 2147483648LL) {
        sqlite3_result_null(ctx);
        return;
    }
    // A negative count has no sensible text; it gives the empty one.
    if (n <= 0) {
        sqlite3_result_text16(ctx, u"", 0, SQLITE_STATIC);
        return;
    }
    // As UTF-8, one byte a space, the length SQLite measures against its limit.
    if (!fitsLengthLimit(ctx, n))
        return;
    resultRepeated(ctx, ' ', n);
}

void repeat(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    bool ok = false;
    const qint64 n = toInt64(argv[0], &ok);
    if (!ok || n > 2147483647LL) {
        sqlite3_result_null(ctx);
        return;
    }
    if (n <= 0) {
        sqlite3_result_text16(ctx, u"", 0, SQLITE_STATIC);
        return;
    }
    const QString s = textArgument(argv[1]);
    const QChar unit = s.isEmpty() ? QLatin1Char(' ') : s.at(0);
    // The count is taken as a byte length of UTF-16 text: only n / 2 units
    // are visible (repeat(4, 'ab') is 'aa'). Building just those units gives
    // SQLite the same text without reading half a unit past the end.
    const qint64 units = n / 2;
    if (unit.unicode() < 0x80) {
        if (fitsLengthLimit(ctx, units))
            resultRepeated(ctx, char(unit.unicode()), units);
        return;
    }
    if (fitsLengthLimit(ctx, units * 2))
        resultText16(ctx, QString(static_cast<int>(units), unit));
}

void strUTF16(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    sqlite3_value* value = argv[0];
    switch (sqlite3_value_type(value)) {
    case SQLITE_NULL:
        sqlite3_result_null(ctx);
        return;
    case SQLITE_INTEGER:
        resultText16(ctx, QString::number(sqlite3_value_int64(value), 10));
        return;
    case SQLITE_FLOAT:
        resultText16(ctx, utils::toStringByMode(sqlite3_value_double(value), utils::DigitsMode::DigitsAfterPoint, 15));
        return;
    case SQLITE_BLOB: {
        const auto geometry = toGeometry(ctx, value, true);
        resultText16(ctx, geometry ? geoSqlType(geometry) : QString(QLatin1String("")));
        return;
    }
    default:
        break;
    }
    const QLocale locale;
    // Qt reads a bare ISO date as a date-time at midnight; only a text that
    // carries a time after its date ("yyyy-MM-ddThh:mm...") is shown as one.
    if (sqlite3_value_bytes(value) > 10) {
        const QDateTime dateTime = toDateTime(value);
        if (dateTime.isValid()) {
            resultText16(ctx, locale.toString(dateTime, QLocale::LongFormat));
            return;
        }
    }
    const QDate date = toDate(value);
    if (date.isValid()) {
        resultText16(ctx, locale.toString(date, QLocale::LongFormat));
        return;
    }
    const QTime time = toTime(value);
    if (time.isValid()) {
        resultText16(ctx, time.toString(Qt::ISODateWithMs));
        return;
    }
    resultText16(ctx, toQString(value));
}

QString geoSqlType(const std::shared_ptr<const geometry::Geometry>& geometry)
{
    if (!geometry)
        return QString();
    using geometry::GeometryType;
    switch (geometry->type()) {
    case GeometryType::Point: return QStringLiteral("Point");
    case GeometryType::LineString: return QStringLiteral("LineString");
    case GeometryType::Polygon: return QStringLiteral("Polygon");
    case GeometryType::MultiPoint: return QStringLiteral("MultiPoint");
    case GeometryType::MultiLineString: return QStringLiteral("MultiLineString");
    case GeometryType::MultiPolygon: return QStringLiteral("MultiPolygon");
    case GeometryType::Collection: return QStringLiteral("GeometryCollection");
    case GeometryType::Arc: return QStringLiteral("Arc");
    case GeometryType::Ellipse: return QStringLiteral("Ellipse");
    case GeometryType::RoundedRectangle: return QStringLiteral("RoundedRectangle");
    case GeometryType::Text: return QStringLiteral("Text");
    }
    return geometry->className();
}

} // namespace tessera::engine
