#include "engine/functions/DateTimeFunctions.h"

#include "tests/support/SqlHarness.h"

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
    // Missing parts come from today.
    const std::string today = "'" + QDate::currentDate().toString(Qt::ISODate).toStdString() + "'";
    db.expectAll({
        {"stringtodate('06.05.2024')", "'2024-05-06'"}, {"stringtodate('20240506')", "'2024-05-06'"},
        {"stringtodate('12:30:45.5')", "'12:30:45.500'"}, {"stringtodate('5 may 2021')", "'2021-05-05'"},
        {"stringtodate('6 May 2024 13:45:10')", "'2024-05-06 13:45:10.000'"},
        {"stringtodate(20240506)", "'2024-05-06'"},
        {"stringtodate('')", today}, {"stringtodate(NULL)", today}, {"stringtodate(' Today ')", today},
    });
    const QString now = db.query("SELECT stringtodate('NOW')").text;
    const QDateTime parsed = QDateTime::fromString(now, canonical);
    ASSERT_TRUE(parsed.isValid()) << now.toStdString();
    EXPECT_LE(qAbs(parsed.msecsTo(QDateTime::currentDateTime())), 2000);
}

TEST_F(DateTimeFunctions, NumberToDate)
{
    db.expectAll({
        {"numbertodate(20240506)", "'2024-05-06 00:00:00.000'"},
        {"numbertodate('20240506')", "'2024-05-06 00:00:00.000'"}, // text: the real reading
        {"numbertodate(20210230)", "''"},                            // no such day
        {"numbertodate('x')", "NULL"}, {"numbertodate(NULL)", "NULL"}, {"numbertodate(x'01')", "NULL"},
    });
    // Instants given in UTC come back in local time: OLE days, Unix seconds
    // and Windows file times (100 ns ticks since 1601, rounded to ms).
    const struct {
        const char* number;
        QDateTime utc;
    } instants[] = {
        {"45000.5", QDateTime(QDate(2023, 3, 15), QTime(12, 0), Qt::UTC)},
        {"25569.25", QDateTime(QDate(1970, 1, 1), QTime(6, 0), Qt::UTC)},
        {"1700000000", QDateTime(QDate(2023, 11, 14), QTime(22, 13, 20), Qt::UTC)},
        {"133000000000005000", QDateTime(QDate(2022, 6, 18), QTime(4, 26, 40, 1), Qt::UTC)},
        {"133000000000004999", QDateTime(QDate(2022, 6, 18), QTime(4, 26, 40, 0), Qt::UTC)},
    };
    for (const auto& i : instants)
        db.expectAll({{std::string("numbertodate(") + i.number + ")",
                       "'" + i.utc.toLocalTime().toString(canonical).toStdString() + "'"}});
}

TEST_F(DateTimeFunctions, DateAndTimeParts)
{
    db.expectAll({
        {"day('2024-05-06')", "6"}, {"month('2024-05-06')", "5"}, {"year('2024-05-06')", "2024"},
        {"day('2024-05-06T23:59:59')", "6"}, {"month('2024-05-06 10:00:00.000')", "5"},
        {"weekday('2024-05-05')", "0"}, {"weekday('2024-05-06')", "1"}, // Sunday, Monday
        {"day('x')", "NULL"}, {"day(20240506)", "NULL"}, // numbers are not dates here
        {"month('2024-02-30')", "NULL"}, {"year(NULL)", "NULL"},

        {"hour('2024-05-06T07:08:09')", "7"}, {"minute('07:08:09')", "8"}, {"second('10:00:05')", "5.0"},
        {"second('10:00:05.250')", "5.25"}, {"second('2024-05-06T10:00:05.5')", "5.5"},
        {"hour('x')", "NULL"}, {"hour('25:00:00')", "NULL"}, {"second(1)", "NULL"},

        {"getdate('2024-05-06T07:08:09')", "'2024-05-06'"}, {"gettime('2024-05-06T07:08:09')", "'07:08:09.000'"},
        {"gettime('2024-05-06 07:08:09.5')", "'07:08:09.500'"},
        {"gettime('2024-05-06T07:08:09Z')", "'07:08:09.000'"}, // not shifted
        {"gettime('07:08:09')", "NULL"},                       // a time alone is no date-time
        {"getdate('06.05.2024')", "NULL"}, {"gettime(42)", "NULL"},
    });
}

} // namespace
} // namespace tessera::engine
