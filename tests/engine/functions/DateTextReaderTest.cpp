#include "engine/functions/DateTextReader.h"

#include <gtest/gtest.h>

#include <ostream>

inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

namespace tessera::engine {
namespace {

// Wednesday 15 May 2024, 10:20:30.456 local time.
QDateTime midMay()
{
    return QDateTime(QDate(2024, 5, 15), QTime(10, 20, 30, 456), Qt::LocalTime);
}

// 10 February 2023: a month without a 29th or 30th.
QDateTime february()
{
    return QDateTime(QDate(2023, 2, 10), QTime(8, 0), Qt::LocalTime);
}

struct Reading {
    const char* text;
    const char* expected; // "" when the text is no date or time
};

void expectReadings(QDateTime (*today)(), std::initializer_list<Reading> readings)
{
    const DateTextReader reader(today);
    for (const Reading& r : readings)
        EXPECT_EQ(reader.read(QString::fromUtf8(r.text)), QString::fromUtf8(r.expected)) << r.text;
}

TEST(DateTextReader, NumericDates)
{
    expectReadings(&midMay, {
        {"06.05.2024", "2024-05-06"}, {"20240506", "2024-05-06"}, {"  3/4/2001  ", "2001-04-03"},
        // The certain year is set aside; of the two numbers left the first is the day.
        {"2024-05-06", "2024-06-05"},
        {"31.12.99", "1999-12-31"}, {"12.31.99", "1999-12-31"}, // 31 cannot be a month
        {"1.2.05", "2005-02-01"}, {"1.2.69", "2069-02-01"}, {"1.2.70", "1970-02-01"}, {"1.2.150", "1150-02-01"},
        {"31.02.2024", ""}, {"20210230", ""}, // no such day
        {"٠٦.٠٥.٢٠٢٤", "2024-05-06"},       // Arabic-Indic digits are decimal digits too
    });
}

TEST(DateTextReader, MissingPartsComeFromToday)
{
    expectReadings(&midMay, {
        {"31", "2024-05-31"}, {"7.8", "2024-08-07"}, {"1999", "1999-05-15"}, {"", "2024-05-15"},
        {"abc", "2024-05-15"}, {" Today ", "2024-05-15"}, {"NOW", "2024-05-15 10:20:30.456"},
        {"12:30", "2024-05-30 12:00:00.000"}, // 12 is the hour; 30, not followed by a colon, a day
    });
    expectReadings(&february, {{"12:30", ""}, {"29", ""}, {"today", "2023-02-10"}});
}

TEST(DateTextReader, Times)
{
    expectReadings(&midMay, {
        {"12:30:45", "12:30:45.000"}, {"12:30:45.5", "12:30:45.500"}, {"12:30:45.05", "12:30:45.050"},
        {"12:30:45.123", "12:30:45.123"}, {"12:30:45.1234", "12:30:45.123"}, {"12:30:45.1236", "12:30:45.124"},
        {"12:30:45.9996", ""}, // rounds to 1000 ms: no such time
        {"25:00:00", ""}, {"06.05.2024 13:45:10", "2024-05-06 13:45:10.000"},
    });
}

TEST(DateTextReader, MonthAndWeekdayNames)
{
    expectReadings(&midMay, {
        {"5 may 2021", "2021-05-05"}, {"мая 5 2021", "2021-05-05"}, {"5 MAY 2021", "2021-05-05"},
        {"1 Декабря 1999", "1999-12-01"}, {"February 3, 2020", "2020-02-03"}, {"3 сентября", "2024-09-03"},
        {"xyz 3 2020", "2020-05-03"}, // an unknown word is ignored
        // A named weekday picks, among the readings, the date on that day.
        {"1.3.2024", "2024-03-01"}, {"wed 1.3.2024", "2024-01-03"}, {"пн 1.3.2024", "2024-01-01"},
        {"Sunday 1.3.2024", "2024-03-03"},
        // Russian weekday words from Tuesday on all read as Tuesday: no
        // Tuesday among the readings, so the usual order decides.
        {"среда 1.3.2024", "2024-03-01"},
        {"sun 5", "2024-05-05"}, // a weekday alone: this month and year, the first day that fits
    });
}

} // namespace
} // namespace tessera::engine
