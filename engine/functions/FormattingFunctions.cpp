#include "engine/functions/FormattingFunctions.h"

#include "engine/functions/NumberPattern.h"
#include "engine/functions/TextArgument.h"
#include "engine/functions/ValueConversions.h"
#include "platform/utils/NumberFormat.h"

#include <QLocale>

namespace tessera::engine {

namespace {

const QString defaultTimePattern = QStringLiteral("HH:mm:ss.fff");

void appendTwoDigits(QString& out, int value, QChar zero)
{
    out += QChar(static_cast<ushort>(zero.unicode() + value / 10 % 10));
    out += QChar(static_cast<ushort>(zero.unicode() + value % 10));
}

// The locale's number in a text whose group separators are removed.
bool parseLocaleNumber(const QString& text, const QLocale& locale, double* number)
{
    QString plain = text;
    plain.remove(locale.groupSeparator());
    bool ok = false;
    *number = locale.toDouble(plain, &ok);
    return ok;
}

bool isNumeric(sqlite3_value* value)
{
    const int type = sqlite3_value_type(value);
    return type == SQLITE_INTEGER || type == SQLITE_FLOAT;
}

} // namespace

QString formatTimeByPattern(const QTime& time, const QString& pattern, const QLocale& locale)
{
    const QChar zero = locale.zeroDigit();
    const int ms = time.msec();
    const int msDigits[3] = {ms / 100, ms / 10 % 10, ms % 10};
    QString out;
    out.reserve(pattern.size() + 8);
    const int n = pattern.size();
    for (int i = 0; i < n;) {
        const ushort c = pattern[i].unicode();
        const bool doubled = i + 1 < n && pattern[i + 1].unicode() == c;
        switch (c) {
        case 'H':
        case 'h':
        case 'm':
        case 's': {
            int value = 0;
            if (c == 'H')
                value = time.hour();
            else if (c == 'h')
                value = time.hour() % 12; // noon and midnight print as 0
            else if (c == 'm')
                value = time.minute();
            else
                value = time.second();
            if (doubled) {
                appendTwoDigits(out, value, zero);
                i += 2;
            } else {
                out += locale.toString(value);
                ++i;
            }
            break;
        }
        case 'f': {
            // Up to three f's give hundreds, tens and units of the
            // milliseconds; a longer run starts again from the hundreds.
            int k = 0;
            while (k < 3 && i < n && pattern[i].unicode() == 'f') {
                out += QChar(static_cast<ushort>(zero.unicode() + msDigits[k]));
                ++k;
                ++i;
            }
            break;
        }
        case 't': {
            const QString text = time.hour() > 11 ? locale.pmText() : locale.amText();
            if (doubled) {
                out += text;
                i += 2;
            } else {
                if (!text.isEmpty())
                    out += text.at(0);
                ++i;
            }
            break;
        }
        default:
            // Literal characters keep only their low eight bits.
            out += QChar(static_cast<ushort>(c & 0xFF));
            ++i;
            break;
        }
    }
    return out;
}

void formatDate(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    const QDate date = toDate(argv[0]);
    if (!date.isValid()) {
        sqlite3_result_null(ctx);
        return;
    }
    // The default locale's short date (what the system short format is when
    // the application leaves the default locale to the system).
    resultText16(ctx, QLocale().toString(date, QLocale::ShortFormat));
}

void formatTime(sqlite3_context* ctx, int argc, sqlite3_value** argv)
{
    const QTime time = toTime(argv[0]);
    if (!time.isValid()) {
        sqlite3_result_null(ctx);
        return;
    }
    QString pattern = argc > 1 ? toQString(argv[1]) : QString();
    if (pattern.isEmpty())
        pattern = defaultTimePattern;
    resultText16(ctx, formatTimeByPattern(time, pattern, QLocale()));
}

void formatNumber(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    const QLocale locale;
    if (isNumeric(argv[0])) {
        resultText16(ctx, utils::separateDouble(toDouble(argv[0]), locale));
        return;
    }
    if (sqlite3_value_type(argv[0]) == SQLITE_NULL) {
        sqlite3_result_null(ctx);
        return;
    }
    const QString text = toQString(argv[0]);
    double number = 0.0;
    if (parseLocaleNumber(text, locale, &number))
        resultText16(ctx, utils::separateDouble(number, locale));
    else
        resultText16(ctx, text);
}

void deformat(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    if (sqlite3_value_type(argv[0]) == SQLITE_NULL) {
        sqlite3_result_null(ctx);
        return;
    }
    const QString text = toQString(argv[0]);
    double number = 0.0;
    if (parseLocaleNumber(text, QLocale(), &number))
        resultText16(ctx, utils::toLocalizedString(number, QLocale::c()));
    else
        resultText16(ctx, text);
}

void formatNumberByPattern(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    bool ok = false;
    const double value = toDouble(argv[0], &ok);
    if (!ok || sqlite3_value_type(argv[1]) == SQLITE_NULL) {
        sqlite3_result_null(ctx);
        return;
    }
    const auto pattern = NumberPattern::parse(toQString(argv[1]));
    if (!pattern) {
        sqlite3_result_null(ctx);
        return;
    }
    resultText16(ctx, pattern->format(value, QLocale()));
}

} // namespace tessera::engine
