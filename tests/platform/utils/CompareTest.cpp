#include "platform/utils/Compare.h"

#include "platform/core/QDecNumber.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QDate>
#include <QDateTime>
#include <QTime>
#include <QUuid>
#include <cmath>
#include <limits>
#include <vector>

using tessera::utils::compare;

namespace {
int sgn(int v) { return (v > 0) - (v < 0); }
} // namespace

TEST(Compare, OrdersValuesOfEveryKind)
{
    QDecNumber::metaTypeId();
    const qulonglong big = std::numeric_limits<qulonglong>::max();
    const qlonglong twoTo53 = qlonglong(1) << 53, maxLong = std::numeric_limits<qlonglong>::max();
    const double nan = std::nan("");
    const QVariant oneAndAHalf = QVariant::fromValue(QDecNumber(15, -1));
    const QUuid low("{00000000-0000-0000-0000-000000000001}"), high("{f0000000-0000-0000-0000-000000000000}");
    const struct {
        const char* name;
        QVariant a, b;
        int expected; // the sign
    } rows[] = {
        {"int and long", 5, qlonglong(7), -1}, {"equal int and long", 7, qlonglong(7), 0},
        {"int and double", 2, 2.0, 0}, {"fraction above", 2.5, 2, 1}, {"negative fraction below", -2.5, -2, -1},
        {"float and unsigned", float(1.5f), 2u, -1}, {"bool is a number", true, 1, 0},
        // Unsigned values beyond the signed range, negative signed values.
        {"huge unsigned and -1", big, qlonglong(-1), 1}, {"huge unsigned and the largest signed", big, maxLong, 1},
        {"unsigned and a fraction", qulonglong(5), 5.5, -1}, {"unsigned and a negative double", qulonglong(1), -1.0, 1},
        // Integers beyond double precision are not rounded: 2^53 + 1 > 2^53.
        {"2^53 + 1 and 2^53", twoTo53 + 1, double(twoTo53), 1},
        {"largest signed and 2^63", maxLong, 9223372036854775808.0, -1},
        {"smallest signed and -1e19", std::numeric_limits<qlonglong>::min(), -1e19, 1},
        {"2^63 unsigned and 1e20", qulonglong(1) << 63, 1e20, -1},
        // NaN after every other number, equal to itself.
        {"NaN after infinity", nan, std::numeric_limits<double>::infinity(), 1}, {"NaN and NaN", nan, nan, 0},
        {"decimal by value", oneAndAHalf, 1.5, 0}, {"decimal below 2", oneAndAHalf, 2, -1},
        // Code units, not the locale: upper case before lower case, 'é'
        // after 'z', a surrogate pair (0xD83D...) before U+FFFF.
        {"B before a", QString("B"), QString("a"), -1}, {"é after z", QString("é"), QString("z"), 1},
        {"surrogates before U+FFFF", QString::fromUcs4(U"\U0001F600"), QString(QChar(0xFFFF)), -1},
        {"prefix first", QString("ab"), QString("abc"), -1}, {"null and empty text", QString(), QString(""), 0},
        {"bytes", QByteArray("A"), QByteArray("a"), -1},
        // Dates and date-times on one time line.
        {"date after the evening before", QDate(2024, 1, 2), QDateTime(QDate(2024, 1, 1), QTime(23, 0)), 1},
        {"date before its first second", QDate(2024, 1, 1), QDateTime(QDate(2024, 1, 1), QTime(0, 0, 1)), -1},
        {"date at its midnight", QDate(2024, 1, 1), QDateTime(QDate(2024, 1, 1), QTime(0, 0)), 0},
        {"times", QTime(9, 0), QTime(10, 0), -1}, {"invalid date first", QDate(), QDate(1900, 1, 1), -1},
        // Invalid values last, all equal.
        {"invalid after a number", QVariant(), 1, 1}, {"text before invalid", QString("z"), QVariant(), -1},
        {"invalid and invalid", QVariant(), QVariant(), 0},
        // Other types by their text form; numbers before texts.
        {"uuids", low, high, -1}, {"number before text", 1000, QString("1"), -1},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(sgn(compare(row.a, row.b)), row.expected) << row.name;
        EXPECT_EQ(sgn(compare(row.b, row.a)), -row.expected) << row.name << ", swapped";
    }
}

// utils::compare orders map keys: it must be a total order even over values
// of mixed kinds.
TEST(Compare, IsATotalOrderOverMixedValues)
{
    QDecNumber::metaTypeId();
    const std::vector<QVariant> values{
        QVariant(), 1, qlonglong(10), 9u, 2.5, 10.0, std::nan(""), true, QVariant::fromValue(QDecNumber(95, -1)),
        QString("10"), QString("9"), QString("a"), QString(), QByteArray("9"), QDate(2024, 1, 1),
        QDateTime(QDate(2023, 12, 31), QTime(12, 0)), QTime(1, 2), QUuid("{00000000-0000-0000-0000-000000000009}"),
        QVariant(QChar('9')), QVariant(),
    };
    for (const QVariant& a : values) {
        EXPECT_EQ(compare(a, a), 0) << a.typeName();
        for (const QVariant& b : values) {
            const int ab = sgn(compare(a, b));
            for (const QVariant& c : values) {
                const int bc = sgn(compare(b, c)), ac = sgn(compare(a, c));
                if ((ab <= 0 && bc <= 0 && ac > 0) || (ab == 0 && bc == 0 && ac != 0))
                    FAIL() << a.toString().toStdString() << " " << b.toString().toStdString() << " " << c.toString().toStdString();
            }
        }
    }
}
