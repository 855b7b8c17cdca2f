#include "platform/utils/NumberFormat.h"

#include <QLocale>
#include <gtest/gtest.h>

#include <cctype>
#include <cmath>
#include <limits>

using namespace tessera::utils;

namespace {

const QChar nbsp(0x00A0);

bool asciiDigit(int c)
{
    return c >= '0' && c <= '9';
}

} // namespace

TEST(NumberFormat, GetRoundRoundsDecimalTextHalfAwayFromZero)
{
    // Binary 2.675 is 2.67499999...; it must round as written.
    EXPECT_DOUBLE_EQ(getRound(2.675, 2), 2.68);
    EXPECT_DOUBLE_EQ(getRound(1.005, 2), 1.01);
    EXPECT_DOUBLE_EQ(getRound(-2.5, 0), -3.0);
    EXPECT_DOUBLE_EQ(getRound(2.5, 0), 3.0);
    EXPECT_DOUBLE_EQ(getRound(2.4999, 0), 2.0);
    EXPECT_DOUBLE_EQ(getRound(99.95, 1), 100.0);
    EXPECT_DOUBLE_EQ(getRound(0.6, 0), 1.0);
    EXPECT_DOUBLE_EQ(getRound(0.4, 0), 0.0);
    // Negative digits round to tens, hundreds, ...
    EXPECT_DOUBLE_EQ(getRound(1250.0, -2), 1300.0);
    EXPECT_DOUBLE_EQ(getRound(1249.0, -2), 1200.0);
    EXPECT_DOUBLE_EQ(getRound(-1250.0, -2), -1300.0);
    EXPECT_DOUBLE_EQ(getRound(40.0, -2), 0.0);
    EXPECT_DOUBLE_EQ(getRound(60.0, -2), 100.0);
    // More digits than the value carries change nothing.
    EXPECT_DOUBLE_EQ(getRound(0.1, 20), 0.1);
    EXPECT_DOUBLE_EQ(getRound(1e300, 5), 1e300);
    EXPECT_DOUBLE_EQ(getRound(123.456, -400), 0.0);
    EXPECT_DOUBLE_EQ(getRound(1e-310, 2), 0.0);
    EXPECT_TRUE(std::isnan(getRound(std::numeric_limits<double>::quiet_NaN(), 2)));
    EXPECT_TRUE(std::isinf(getRound(std::numeric_limits<double>::infinity(), 2)));
}

TEST(NumberFormat, ToStringByMode)
{
    EXPECT_EQ(toStringByMode(1.0 / 3, DigitsMode::DigitsAfterPoint, 15), "0.333333333333333");
    EXPECT_EQ(toStringByMode(2.0 / 3, DigitsMode::DigitsAfterPoint, 15), "0.666666666666667");
    EXPECT_EQ(toStringByMode(2.5, DigitsMode::DigitsAfterPoint, 15), "2.5");
    EXPECT_EQ(toStringByMode(-1234.0, DigitsMode::DigitsAfterPoint, 15), "-1234");
    EXPECT_EQ(toStringByMode(0.1 + 0.2, DigitsMode::DigitsAfterPoint, 15), "0.3");
    EXPECT_EQ(toStringByMode(1e-7, DigitsMode::DigitsAfterPoint, 15), "0.0000001");
    EXPECT_EQ(toStringByMode(123456789012345.0, DigitsMode::DigitsAfterPoint, 15), "123456789012345");
    EXPECT_EQ(toStringByMode(0.0, DigitsMode::DigitsAfterPoint, 15), "0");
    EXPECT_EQ(toStringByMode(-0.0, DigitsMode::DigitsAfterPoint, 15), "0");
    EXPECT_EQ(toStringByMode(1.25, DigitsMode::DigitsAfterPoint, 2), "1.3");
    // From 1e15 on, exponent form.
    EXPECT_EQ(toStringByMode(1.5e20, DigitsMode::DigitsAfterPoint, 15), "1.5e+20");
    EXPECT_EQ(toStringByMode(1234.5678, DigitsMode::Significant, 6), "1234.57");
    EXPECT_EQ(toStringByMode(1234.5678, DigitsMode::Significant, 2), "1.2e+03");
}

TEST(NumberFormat, LocalizedTexts)
{
    const QLocale en(QLocale::English, QLocale::UnitedStates);
    const QLocale ru(QLocale::Russian, QLocale::Russia);
    const QLocale de(QLocale::German, QLocale::Germany);

    EXPECT_EQ(separateDouble(1234567.25, en), "1,234,567.25");
    EXPECT_EQ(separateDouble(-1234567.25, en), "-1,234,567.25");
    EXPECT_EQ(separateDouble(1234567.25, ru), QString("1") + nbsp + "234" + nbsp + "567,25");
    EXPECT_EQ(separateDouble(1234.5, de), "1.234,5");
    EXPECT_EQ(separateDouble(999.0, en), "999");
    EXPECT_EQ(separateDouble(0.5, en), "0.5");

    EXPECT_EQ(toLocalizedString(1234567.25, en), "1234567.25");
    EXPECT_EQ(toLocalizedString(1234.5, ru), "1234,5");
    EXPECT_EQ(toLocalizedString(-0.125, QLocale::c()), "-0.125");
}

TEST(NumberFormat, SeparateThousands)
{
    EXPECT_EQ(separateThousands("1234567", ',', '.'), "1,234,567");
    EXPECT_EQ(separateThousands("-1234567.891", ',', '.'), "-1,234,567.891");
    EXPECT_EQ(separateThousands("123", ',', '.'), "123");
    EXPECT_EQ(separateThousands("1234", ',', '.'), "1,234");
    EXPECT_EQ(separateThousands(".12345", ',', '.'), ".12345");
    EXPECT_EQ(separateThousands("1234567,5", nbsp, ','), QString("1") + nbsp + "234" + nbsp + "567,5");
    EXPECT_EQ(separateThousands("123456", '\'', '.', 2), "12'34'56");
    EXPECT_EQ(separateThousands("123456", ',', '.', 0), "123456");
    EXPECT_EQ(separateThousands("", ',', '.'), "");
}

TEST(NumberFormat, CastExponentialFormat)
{
    const QLocale en(QLocale::English, QLocale::UnitedStates);
    const QLocale ru(QLocale::Russian, QLocale::Russia);
    EXPECT_EQ(castExponentialFormat("1.5e+20", en, asciiDigit), "150000000000000000000");
    EXPECT_EQ(castExponentialFormat("1.23456789012346e+17", en, asciiDigit), "123456789012346000");
    EXPECT_EQ(castExponentialFormat("-2.5e+03", en, asciiDigit), "-2500");
    EXPECT_EQ(castExponentialFormat("1e-07", en, asciiDigit), "0.0000001");
    EXPECT_EQ(castExponentialFormat("1,5e+20", ru, asciiDigit), "150000000000000000000");
    EXPECT_EQ(castExponentialFormat("1,25e-2", ru, asciiDigit), "0,0125");
    EXPECT_EQ(castExponentialFormat("12.5E1", en, asciiDigit), "125");
    // Nothing to rewrite.
    EXPECT_EQ(castExponentialFormat("1234.5", en, asciiDigit), "1234.5");
    EXPECT_EQ(castExponentialFormat("abc", en, asciiDigit), "abc");
    EXPECT_EQ(castExponentialFormat("1e", en, asciiDigit), "1e");
}
