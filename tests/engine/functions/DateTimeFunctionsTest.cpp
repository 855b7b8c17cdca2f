#include "engine/functions/DateTimeFunctions.h"

#include "SqlHarness.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QRegularExpression>

namespace tessera::engine {
namespace {

const QString canonical = QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz");

class DateTimeFunctions : public ::testing::Test {
protected:
    DateTimeFunctions()
    {
        db.scalar("curdate", 0, curDate);
        db.scalar("curtime", 0, curTime);
        db.scalar("curdatetime", 0, curDateTime);
        db.scalar("stringtodate", 1, stringToDate);
        db.scalar("numbertodate", 1, numberToDate);
        db.scalar("day", 1, day);
        db.scalar("month", 1, month);
        db.scalar("year", 1, year);
        db.scalar("weekday", 1, weekday);
        db.scalar("hour", 1, hour);
        db.scalar("minute", 1, minute);
        db.scalar("second", 1, second);
        db.scalar("getdate", 1, getDate);
        db.scalar("gettime", 1, getTime);
    }

    test::SqlHarness db;
};

TEST_F(DateTimeFunctions, Clock)
{
    const QDateTime before = QDateTime::currentDateTime();
    const QString date = db.query("SELECT curdate()").text;
    const QString time = db.query("SELECT curtime()").text;
    const QString dateTime = db.query("SELECT curdatetime()").text;
    const QDateTime after = QDateTime::currentDateTime();

    EXPECT_TRUE(date == before.date().toString(Qt::ISODate) || date == after.date().toString(Qt::ISODate)) << date.toStdString();
    EXPECT_TRUE(QRegularExpression("^\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d$").match(time).hasMatch()) << time.toStdString();
    const QTime parsedTime = QTime::fromString(time, "hh:mm:ss.zzz");
    EXPECT_LE(qAbs(parsedTime.msecsTo(after.time())), 2000) << time.toStdString(); // local, not UTC
    const QDateTime parsed = QDateTime::fromString(dateTime, canonical);
    ASSERT_TRUE(parsed.isValid()) << dateTime.toStdString();
    EXPECT_GE(parsed, before.addMSecs(-1));
    EXPECT_LE(parsed, after.addMSecs(1));
}

TEST_F(DateTimeFunctions, StringToDate)
{
    db.expectText("SELECT stringtodate('06.05.2024')", "2024-05-06");
    db.expectText("SELECT stringtodate('20240506')", "2024-05-06");
    db.expectText("SELECT stringtodate('12:30:45.5')", "12:30:45.500");
    db.expectText("SELECT stringtodate('5 may 2021')", "2021-05-05");
    db.expectText("SELECT stringtodate('6 May 2024 13:45:10')", "2024-05-06 13:45:10.000");
    db.expectText("SELECT stringtodate(20240506)", "2024-05-06");

    // No usable token: today.
    const QString today = QDate::currentDate().toString(Qt::ISODate);
    db.expectText("SELECT stringtodate('')", today);
    db.expectText("SELECT stringtodate(NULL)", today);
    db.expectText("SELECT stringtodate(' Today ')", today);
    const QString now = db.query("SELECT stringtodate('NOW')").text;
    const QDateTime parsed = QDateTime::fromString(now, canonical);
    ASSERT_TRUE(parsed.isValid()) << now.toStdString();
    EXPECT_LE(qAbs(parsed.msecsTo(QDateTime::currentDateTime())), 2000);
}

TEST_F(DateTimeFunctions, NumberToDate)
{
    db.expectText("SELECT numbertodate(20240506)", "2024-05-06 00:00:00.000");
    db.expectText("SELECT numbertodate('20240506')", "2024-05-06 00:00:00.000"); // text: the real reading
    db.expectText("SELECT numbertodate(20210230)", ""); // no such day
    db.expectNull("SELECT numbertodate('x')");
    db.expectNull("SELECT numbertodate(NULL)");
    db.expectNull("SELECT numbertodate(x'01')");

    // Instants given in UTC come back in local time.
    const auto local = [](const QDateTime& utc) { return utc.toLocalTime().toString(canonical); };
    db.expectText("SELECT numbertodate(45000.5)", local(QDateTime(QDate(2023, 3, 15), QTime(12, 0), Qt::UTC)));
    db.expectText("SELECT numbertodate(25569.25)", local(QDateTime(QDate(1970, 1, 1), QTime(6, 0), Qt::UTC)));
    db.expectText("SELECT numbertodate(1700000000)", local(QDateTime(QDate(2023, 11, 14), QTime(22, 13, 20), Qt::UTC)));
    // Windows file time: 100 ns ticks since 1601, rounded to milliseconds.
    db.expectText("SELECT numbertodate(133000000000005000)",
                  local(QDateTime(QDate(2022, 6, 18), QTime(4, 26, 40, 1), Qt::UTC)));
    db.expectText("SELECT numbertodate(133000000000004999)",
                  local(QDateTime(QDate(2022, 6, 18), QTime(4, 26, 40, 0), Qt::UTC)));
    if (qgetenv("TZ") == "Asia/Tokyo")
        db.expectText("SELECT numbertodate(45000.5)", "2023-03-15 21:00:00.000");
}

TEST_F(DateTimeFunctions, DateParts)
{
    db.expectInt("SELECT day('2024-05-06')", 6);
    db.expectInt("SELECT month('2024-05-06')", 5);
    db.expectInt("SELECT day('2024-05-06T23:59:59')", 6);
    db.expectInt("SELECT month('2024-05-06 10:00:00.000')", 5);
    db.expectInt("SELECT weekday('2024-05-05')", 0); // Sunday
    db.expectInt("SELECT weekday('2024-05-06')", 1);
    db.expectNull("SELECT day('x')");
    db.expectNull("SELECT day(20240506)"); // numbers are not dates here
    db.expectNull("SELECT month('2024-02-30')");
    db.expectNull("SELECT year(NULL)");
}

TEST_F(DateTimeFunctions, TimeParts)
{
    db.expectInt("SELECT hour('2024-05-06T07:08:09')", 7);
    db.expectInt("SELECT minute('07:08:09')", 8);
    db.expectReal("SELECT second('10:00:05')", 5.0);
    db.expectReal("SELECT second('10:00:05.250')", 5.25);
    db.expectReal("SELECT second('2024-05-06T10:00:05.5')", 5.5);
    db.expectNull("SELECT hour('x')");
    db.expectNull("SELECT hour('25:00:00')");
    db.expectNull("SELECT second(1)");
}

TEST_F(DateTimeFunctions, DateAndTimeOfADateTime)
{
    db.expectText("SELECT getdate('2024-05-06T07:08:09')", "2024-05-06");
    db.expectText("SELECT gettime('2024-05-06T07:08:09')", "07:08:09.000");
    db.expectText("SELECT gettime('2024-05-06 07:08:09.5')", "07:08:09.500");
    db.expectText("SELECT gettime('2024-05-06T07:08:09Z')", "07:08:09.000"); // not shifted
    db.expectNull("SELECT gettime('07:08:09')"); // a time alone is no date-time
    db.expectNull("SELECT getdate('06.05.2024')");
    db.expectNull("SELECT gettime(42)");
}

} // namespace
} // namespace tessera::engine
