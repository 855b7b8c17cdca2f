#include "platform/core/QDecNumber.h"

#include <QVariant>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

QDecNumber dec(const char* text)
{
    bool ok = false;
    const QDecNumber d = QDecNumber::fromString(QString::fromLatin1(text), &ok);
    EXPECT_TRUE(ok) << text;
    return d;
}

TEST(QDecNumber, ParsesPlainAndScientificText)
{
    struct Case {
        const char* text;
        qint64 coefficient;
        int exponent;
    };
    const Case cases[] = {
        {"12", 12, 0}, {"-0.50", -50, -2}, {"+1.5e-3", 15, -4}, {".5", 5, -1}, {"1E10", 1, 10}, {"  7  ", 7, 0},
        {"0012.340", 12340, -3}, {"-0", 0, 0},
        // 19 digits: the last one is rounded off, half away from zero.
        {"1234567890123456789", 123456789012345679, 1}, {"-1234567890123456785", -123456789012345679, 1},
        {"0.12345678901234567849", 123456789012345678, -18},
        // Rounding up to 10^18 keeps 18 digits.
        {"999999999999999999.5", 100000000000000000, 1},
    };
    for (const Case& c : cases) {
        const QDecNumber d = dec(c.text);
        EXPECT_TRUE(d.isValid()) << c.text;
        EXPECT_EQ(d.coefficient(), c.coefficient) << c.text;
        EXPECT_EQ(d.exponent(), c.exponent) << c.text;
    }

    for (const char* bad : {"", " ", "abc", "1.2.3", "1e", "e5", "--1", "1 2", "0x10", "1e+", ".", "-", "1,5", "NaN"}) {
        bool ok = true;
        const QDecNumber d = QDecNumber::fromString(QString::fromLatin1(bad), &ok);
        EXPECT_FALSE(ok) << bad;
        EXPECT_FALSE(d.isValid()) << bad;
    }
    // Absurd exponents are refused rather than overflowing.
    EXPECT_FALSE(QDecNumber::fromString(QStringLiteral("1e2147483648")).isValid());
    EXPECT_FALSE(QDecNumber::fromString(QStringLiteral("1e-99999999999999999999")).isValid());
    EXPECT_TRUE(QDecNumber::fromString(QStringLiteral("0e99999999999")).isZero());
    EXPECT_FALSE(QDecNumber().isValid());
}

TEST(QDecNumber, FormatsAndReadsBack)
{
    // The most negative coefficient is rounded to 18 digits, not negated.
    const QDecNumber smallest(std::numeric_limits<qint64>::min());
    EXPECT_LE(smallest.digits(), QDecNumber::maxDigits);
    const std::pair<QDecNumber, const char*> texts[] = {
        {QDecNumber(12345, -2), "123.45"}, {QDecNumber(-12345, -2), "-123.45"}, {QDecNumber(1, -3), "0.001"},
        {QDecNumber(5, -6), "0.000005"}, {QDecNumber(5, -7), "5E-7"}, {QDecNumber(15, 6), "1.5E+7"},
        {QDecNumber(0, -2), "0.00"}, {QDecNumber(), "NaN"}, {smallest, "-9.22337203685477581E+18"},
        {QDecNumber::fromDouble(0.1), "0.1"}, {QDecNumber::fromDouble(-2.5e-8), "-2.5E-8"},
    };
    for (const auto& [number, text] : texts)
        EXPECT_EQ(number.toString(), QString::fromLatin1(text)) << text;
    for (const char* text : {"123.45", "-0.000001", "1.5E+7", "9.99999999999999999E-300", "42"})
        EXPECT_EQ(QDecNumber::fromString(dec(text).toString()), dec(text)) << text;

    EXPECT_EQ(dec("0.1").toDouble(), 0.1);
    EXPECT_EQ(dec("-2.675").toDouble(), -2.675);
    EXPECT_EQ(dec("123456789012345678").toDouble(), 123456789012345678.0);
    EXPECT_TRUE(std::isnan(QDecNumber().toDouble()));
    EXPECT_EQ(QDecNumber::fromDouble(1e300).toDouble(), 1e300);
    EXPECT_FALSE(QDecNumber::fromDouble(std::nan("")).isValid());
    EXPECT_FALSE(QDecNumber::fromDouble(std::numeric_limits<double>::infinity()).isValid());
    const QDecNumber n = QDecNumber(1500, -2).normalized();
    EXPECT_EQ(n.coefficient(), 15);
    EXPECT_EQ(n.exponent(), 0);
}

TEST(QDecNumber, ComparesByValue)
{
    // Each pair in ascending order; invalid numbers come after every valid one.
    const std::pair<QDecNumber, QDecNumber> ascending[] = {
        {dec("-2"), dec("-1.5")}, {dec("-1.5"), dec("0.0001")}, {dec("0.0999"), dec("0.1")},
        {dec("9.99999999999999999"), dec("10")}, {dec("999999999999999999"), dec("1e18")},
        {dec("-1e18"), dec("-999999999999999999")}, {QDecNumber(999999999, 0), QDecNumber(1, 100000)},
        {QDecNumber(-1, 100000), QDecNumber(-999999999, 0)}, {QDecNumber(1, -100000), QDecNumber(1, -99999)},
        {dec("1e300"), QDecNumber()}, {dec("0"), QDecNumber()},
    };
    for (const auto& [low, high] : ascending) {
        EXPECT_LT(low, high) << low.toString().toStdString() << " < " << high.toString().toStdString();
        EXPECT_GT(high, low) << low.toString().toStdString() << " < " << high.toString().toStdString();
    }
    EXPECT_EQ(dec("1.50"), dec("1.5"));
    EXPECT_EQ(dec("0"), dec("-0.000"));
    EXPECT_EQ(QDecNumber(), QDecNumber());
    EXPECT_NE(QDecNumber(), dec("0"));
}

TEST(QDecNumber, TravelsInVariants)
{
    const int id = QDecNumber::metaTypeId();
    EXPECT_EQ(QMetaType::type("QDecNumber"), id);
    EXPECT_STREQ(QMetaType::typeName(id), "QDecNumber");
    EXPECT_GE(id, int(QMetaType::User));

    const QVariant v = QVariant::fromValue(dec("2.25"));
    EXPECT_EQ(v.userType(), id);
    EXPECT_TRUE(v.canConvert<double>());
    bool ok = false;
    EXPECT_EQ(v.toDouble(&ok), 2.25);
    EXPECT_TRUE(ok);
    EXPECT_EQ(v.toString(), QStringLiteral("2.25"));
    EXPECT_EQ(QVariant(QStringLiteral("1.5")).value<QDecNumber>(), dec("1.5"));
    EXPECT_EQ(v, QVariant::fromValue(dec("2.250")));
}

} // namespace
