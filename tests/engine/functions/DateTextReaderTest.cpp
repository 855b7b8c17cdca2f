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

TEST(DateTextReader, NumericDates)
{
    const DateTextReader reader(&midMay);
    EXPECT_EQ(reader.read("06.05.2024"), "2024-05-06");
    EXPECT_EQ(reader.read("20240506"), "2024-05-06");
    // The certain year is set aside; of the two numbers left the first is the day.
    EXPECT_EQ(reader.read("2024-05-06"), "2024-06-05");
    EXPECT_EQ(reader.read("31.12.99"), "1999-12-31"); // 31 cannot be a month
    EXPECT_EQ(reader.read("12.31.99"), "1999-12-31"); // nor here: 31 is the day
    EXPECT_EQ(reader.read("1.2.05"), "2005-02-01");
    EXPECT_EQ(reader.read("1.2.69"), "2069-02-01");
    EXPECT_EQ(reader.read("1.2.70"), "1970-02-01");
    EXPECT_EQ(reader.read("1.2.150"), "1150-02-01");
    EXPECT_EQ(reader.read("  3/4/2001  "), "2001-04-03");
    EXPECT_EQ(reader.read("31.02.2024"), ""); // no such day
    EXPECT_EQ(reader.read("20210230"), "");
    // Arabic-Indic digits are decimal digits too.
    EXPECT_EQ(reader.read(QString::fromUtf8("٠٦.٠٥.٢٠٢٤")), "2024-05-06");
}

TEST(DateTextReader, MissingPartsComeFromToday)
{
    const DateTextReader reader(&midMay);
    EXPECT_EQ(reader.read("31"), "2024-05-31");
    EXPECT_EQ(reader.read("7.8"), "2024-08-07");
    EXPECT_EQ(reader.read("1999"), "1999-05-15");
    EXPECT_EQ(reader.read(""), "2024-05-15");
    EXPECT_EQ(reader.read("abc"), "2024-05-15");
    EXPECT_EQ(reader.read(" Today "), "2024-05-15");
    EXPECT_EQ(reader.read("NOW"), "2024-05-15 10:20:30.456");
    // 12 is the hour; 30, not followed by a colon, is a day.
    EXPECT_EQ(reader.read("12:30"), "2024-05-30 12:00:00.000");
    EXPECT_EQ(DateTextReader(&february).read("12:30"), "");
    EXPECT_EQ(DateTextReader(&february).read("29"), "");
    EXPECT_EQ(DateTextReader(&february).read("today"), "2023-02-10");
}

TEST(DateTextReader, Times)
{
    const DateTextReader reader(&midMay);
    EXPECT_EQ(reader.read("12:30:45"), "12:30:45.000");
    EXPECT_EQ(reader.read("12:30:45.5"), "12:30:45.500");
    EXPECT_EQ(reader.read("12:30:45.05"), "12:30:45.050");
    EXPECT_EQ(reader.read("12:30:45.123"), "12:30:45.123");
    EXPECT_EQ(reader.read("12:30:45.1234"), "12:30:45.123");
    EXPECT_EQ(reader.read("12:30:45.9996"), ""); // rounds to 1000 ms: no such time
    EXPECT_EQ(reader.read("12:30:45.1236"), "12:30:45.124");
    EXPECT_EQ(reader.read("25:00:00"), ""); // an impossible time
    EXPECT_EQ(reader.read("06.05.2024 13:45:10"), "2024-05-06 13:45:10.000");
}

TEST(DateTextReader, MonthAndWeekdayNames)
{
    const DateTextReader reader(&midMay);
    EXPECT_EQ(reader.read("5 may 2021"), "2021-05-05");
    EXPECT_EQ(reader.read("мая 5 2021"), "2021-05-05");
    EXPECT_EQ(reader.read("5 MAY 2021"), "2021-05-05");
    EXPECT_EQ(reader.read("1 Декабря 1999"), "1999-12-01");
    EXPECT_EQ(reader.read("February 3, 2020"), "2020-02-03");
    EXPECT_EQ(reader.read("3 сентября"), "2024-09-03");
    EXPECT_EQ(reader.read("xyz 3 2020"), "2020-05-03"); // an unknown word is ignored

    // A named weekday picks, among the readings, the date on that day.
    EXPECT_EQ(reader.read("1.3.2024"), "2024-03-01");
    EXPECT_EQ(reader.read("wed 1.3.2024"), "2024-01-03");
    EXPECT_EQ(reader.read("пн 1.3.2024"), "2024-01-01");
    EXPECT_EQ(reader.read("Sunday 1.3.2024"), "2024-03-03");
    // Russian weekday words from Tuesday on all read as Tuesday: no Tuesday
    // among the readings, so the usual order decides.
    EXPECT_EQ(reader.read("среда 1.3.2024"), "2024-03-01");
    // A weekday alone: this month and year, the first day that fits.
    EXPECT_EQ(reader.read("sun 5"), "2024-05-05");
}

} // namespace
} // namespace tessera::engine
