#include "engine/functions/DateTimeFunctions.h"

#include "engine/functions/DateTextReader.h"
#include "engine/functions/TextArgument.h"
#include "engine/functions/ValueConversions.h"

#include <QDateTime>

namespace tessera::engine {

namespace {

template <class Part>
void datePart(sqlite3_context* ctx, sqlite3_value* value, Part part)
{
    const QDate date = toDate(value);
    if (!date.isValid()) {
        sqlite3_result_null(ctx);
        return;
    }
    sqlite3_result_int(ctx, part(date));
}

template <class Part>
void timePart(sqlite3_context* ctx, sqlite3_value* value, Part part)
{
    const QTime time = toTime(value);
    if (!time.isValid()) {
        sqlite3_result_null(ctx);
        return;
    }
    sqlite3_result_int(ctx, part(time));
}

} // namespace

void curDate(sqlite3_context* ctx, int, sqlite3_value**)
{
    resultText16(ctx, toString(QDate::currentDate()));
}

void curTime(sqlite3_context* ctx, int, sqlite3_value**)
{
    resultText16(ctx, toString(QTime::currentTime()));
}

void curDateTime(sqlite3_context* ctx, int, sqlite3_value**)
{
    resultText16(ctx, toString(QDateTime::currentDateTime()));
}

void stringToDate(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    // The reader copies what it needs, so the argument is only viewed.
    resultText16(ctx, DateTextReader().read(textArgument(argv[0])));
}

void numberToDate(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    QDateTime dateTime;
    if (sqlite3_value_type(argv[0]) == SQLITE_INTEGER) {
        dateTime = int2Date(toInt64(argv[0]));
    } else {
        bool ok = false;
        const double v = toDouble(argv[0], &ok);
        if (!ok) {
            sqlite3_result_null(ctx);
            return;
        }
        dateTime = real2Date(v);
    }
    resultText16(ctx, dateTime.isValid() ? toString(dateTime) : QString(QLatin1String("")));
}

void day(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    datePart(ctx, argv[0], [](const QDate& d) { return d.day(); });
}

void month(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    datePart(ctx, argv[0], [](const QDate& d) { return d.month(); });
}

void year(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    datePart(ctx, argv[0], [](const QDate& d) { return d.year(); });
}

void weekday(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    datePart(ctx, argv[0], [](const QDate& d) { return d.dayOfWeek() % 7; });
}

void hour(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    timePart(ctx, argv[0], [](const QTime& t) { return t.hour(); });
}

void minute(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    timePart(ctx, argv[0], [](const QTime& t) { return t.minute(); });
}

void second(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    const QTime time = toTime(argv[0]);
    if (!time.isValid()) {
        sqlite3_result_null(ctx);
        return;
    }
    sqlite3_result_double(ctx, time.second() + time.msec() / 1000.0);
}

void getDate(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    const QDateTime dateTime = toDateTime(argv[0]);
    if (!dateTime.isValid()) {
        sqlite3_result_null(ctx);
        return;
    }
    resultText16(ctx, toString(dateTime.date()));
}

void getTime(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    const QDateTime dateTime = toDateTime(argv[0]);
    if (!dateTime.isValid()) {
        sqlite3_result_null(ctx);
        return;
    }
    resultText16(ctx, toString(dateTime.time()));
}

} // namespace tessera::engine
