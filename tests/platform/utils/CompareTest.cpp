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
int sgn(int v)
{
    return (v > 0) - (v < 0);
}
} // namespace

TEST(Compare, NumbersByExactValueAcrossTypes)
{
    EXPECT_LT(compare(5, qlonglong(7)), 0);
    EXPECT_EQ(compare(7, qlonglong(7)), 0);
    EXPECT_EQ(compare(2, 2.0), 0);
    EXPECT_GT(compare(2.5, 2), 0);
    EXPECT_LT(compare(-2.5, -2), 0);
    EXPECT_GT(compare(-2, -2.5), 0);
    EXPECT_LT(compare(float(1.5f), 2u), 0);
    EXPECT_EQ(compare(true, 1), 0);
    // Unsigned values beyond the signed range, negative signed values.
    const qulonglong big = std::numeric_limits<qulonglong>::max();
    EXPECT_GT(compare(big, qlonglong(-1)), 0);
    EXPECT_LT(compare(qlonglong(-1), big), 0);
    EXPECT_GT(compare(big, std::numeric_limits<qlonglong>::max()), 0);
    EXPECT_LT(compare(qulonglong(5), -0.5 + 6), 0);
    EXPECT_GT(compare(qulonglong(1), -1.0), 0);
    // Integers beyond double precision are not rounded: 2^53 + 1 > 2^53.
    const qlonglong twoTo53 = qlonglong(1) << 53;
    EXPECT_GT(compare(twoTo53 + 1, double(twoTo53)), 0);
    EXPECT_LT(compare(double(twoTo53), twoTo53 + 1), 0);
    EXPECT_LT(compare(std::numeric_limits<qlonglong>::max(), 9223372036854775808.0), 0);
    EXPECT_GT(compare(std::numeric_limits<qlonglong>::min(), -1e19), 0);
    EXPECT_LT(compare(qulonglong(1) << 63, 1e20), 0);
    // NaN after every other number, equal to itself.
    const double nan = std::nan("");
    EXPECT_GT(compare(nan, std::numeric_limits<double>::infinity()), 0);
    EXPECT_LT(compare(5, nan), 0);
    EXPECT_EQ(compare(nan, nan), 0);
    // Decimal numbers by their value.
    QDecNumber::metaTypeId();
    const QVariant oneAndAHalf = QVariant::fromValue(QDecNumber(15, -1));
    EXPECT_EQ(compare(oneAndAHalf, 1.5), 0);
    EXPECT_LT(compare(oneAndAHalf, 2), 0);
    EXPECT_GT(compare(3, oneAndAHalf), 0);
}

TEST(Compare, TextsDatesAndInvalidValues)
{
    // Code units, not the locale: upper case before lower case, 'é' after 'z',
    // a surrogate pair (0xD83D...) before U+FFFF.
    EXPECT_LT(compare(QString("B"), QString("a")), 0);
    EXPECT_GT(compare(QString("é"), QString("z")), 0);
    EXPECT_LT(compare(QString::fromUcs4(U"\U0001F600"), QString(QChar(0xFFFF))), 0);
    EXPECT_LT(compare(QString("ab"), QString("abc")), 0);
    EXPECT_EQ(compare(QString("Ёж"), QString("Ёж")), 0);
    EXPECT_EQ(compare(QString(), QString("")), 0);
    EXPECT_LT(compare(QByteArray("A"), QByteArray("a")), 0);

    // Dates and date-times on one time line.
    EXPECT_GT(compare(QDate(2024, 1, 2), QDateTime(QDate(2024, 1, 1), QTime(23, 0))), 0);
    EXPECT_LT(compare(QDate(2024, 1, 1), QDateTime(QDate(2024, 1, 1), QTime(0, 0, 1))), 0);
    EXPECT_EQ(compare(QDate(2024, 1, 1), QDateTime(QDate(2024, 1, 1), QTime(0, 0))), 0);
    EXPECT_LT(compare(QTime(9, 0), QTime(10, 0)), 0);
    EXPECT_LT(compare(QDate(), QDate(1900, 1, 1)), 0);

    // Invalid last, all invalid values equal.
    EXPECT_GT(compare(QVariant(), 1), 0);
    EXPECT_LT(compare(QString("z"), QVariant()), 0);
    EXPECT_EQ(compare(QVariant(), QVariant()), 0);

    // Other types by their text form.
    const QUuid low("{00000000-0000-0000-0000-000000000001}");
    const QUuid high("{f0000000-0000-0000-0000-000000000000}");
    EXPECT_LT(compare(low, high), 0);
    EXPECT_EQ(compare(low, low), 0);
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
            ASSERT_EQ(ab, -sgn(compare(b, a))) << a.toString().toStdString() << " " << b.toString().toStdString();
            for (const QVariant& c : values) {
                const int bc = sgn(compare(b, c));
                const int ac = sgn(compare(a, c));
                if (ab <= 0 && bc <= 0) {
                    ASSERT_LE(ac, 0) << a.toString().toStdString() << " " << b.toString().toStdString() << " "
                                     << c.toString().toStdString();
                }
                if (ab == 0 && bc == 0) {
                    ASSERT_EQ(ac, 0);
                }
            }
        }
    }
    // Kinds: numbers, then texts.
    EXPECT_LT(compare(1000, QString("1")), 0);
}
