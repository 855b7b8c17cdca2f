#include "platform/utils/NumberFormat.h"

#include <QLocale>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace tessera::utils;

namespace {
const QChar nbsp(0x00A0);
bool asciiDigit(int c) { return c >= '0' && c <= '9'; }
const QLocale en(QLocale::English, QLocale::UnitedStates), ru(QLocale::Russian, QLocale::Russia);
} // namespace

TEST(NumberFormat, GetRoundRoundsDecimalTextHalfAwayFromZero)
{
    const struct {
        const char* name;
        double value;
        int digits;
        double expected;
    } rows[] = {
        // Binary 2.675 is 2.67499999...; it must round as written.
        {"2.675 as written", 2.675, 2, 2.68}, {"1.005 as written", 1.005, 2, 1.01},
        {"negative half away from zero", -2.5, 0, -3.0}, {"half up", 2.5, 0, 3.0}, {"below half", 2.4999, 0, 2.0},
        {"carry into a new digit", 99.95, 1, 100.0}, {"0.6", 0.6, 0, 1.0}, {"0.4", 0.4, 0, 0.0},
        // Negative digits round to tens, hundreds, ...
        {"hundreds, half", 1250.0, -2, 1300.0}, {"hundreds, below half", 1249.0, -2, 1200.0},
        {"negative hundreds", -1250.0, -2, -1300.0}, {"40 to hundreds", 40.0, -2, 0.0}, {"60 to hundreds", 60.0, -2, 100.0},
        // More digits than the value carries change nothing.
        {"0.1 to 20 digits", 0.1, 20, 0.1}, {"1e300", 1e300, 5, 1e300}, {"far left", 123.456, -400, 0.0},
        {"denormal", 1e-310, 2, 0.0},
    };
    for (const auto& row : rows)
        EXPECT_DOUBLE_EQ(getRound(row.value, row.digits), row.expected) << row.name;
    EXPECT_TRUE(std::isnan(getRound(std::numeric_limits<double>::quiet_NaN(), 2)));
    EXPECT_TRUE(std::isinf(getRound(std::numeric_limits<double>::infinity(), 2)));
}

TEST(NumberFormat, Texts)
{
    const struct {
        const char* name;
        QString actual, expected;
    } rows[] = {
        {"a third", toStringByMode(1.0 / 3, DigitsMode::DigitsAfterPoint, 15), "0.333333333333333"},
        {"two thirds rounded", toStringByMode(2.0 / 3, DigitsMode::DigitsAfterPoint, 15), "0.666666666666667"},
        {"no trailing zeros", toStringByMode(2.5, DigitsMode::DigitsAfterPoint, 15), "2.5"},
        {"integral", toStringByMode(-1234.0, DigitsMode::DigitsAfterPoint, 15), "-1234"},
        {"0.1 + 0.2", toStringByMode(0.1 + 0.2, DigitsMode::DigitsAfterPoint, 15), "0.3"},
        {"small, no exponent", toStringByMode(1e-7, DigitsMode::DigitsAfterPoint, 15), "0.0000001"},
        {"15 digits", toStringByMode(123456789012345.0, DigitsMode::DigitsAfterPoint, 15), "123456789012345"},
        {"negative zero", toStringByMode(-0.0, DigitsMode::DigitsAfterPoint, 15), "0"},
        {"two digits", toStringByMode(1.25, DigitsMode::DigitsAfterPoint, 2), "1.3"},
        {"from 1e15 on, exponent form", toStringByMode(1.5e20, DigitsMode::DigitsAfterPoint, 15), "1.5e+20"},
        {"six significant", toStringByMode(1234.5678, DigitsMode::Significant, 6), "1234.57"},
        {"two significant", toStringByMode(1234.5678, DigitsMode::Significant, 2), "1.2e+03"},
        {"English thousands", separateDouble(-1234567.25, en), "-1,234,567.25"},
        {"Russian thousands", separateDouble(1234567.25, ru), QString("1") + nbsp + "234" + nbsp + "567,25"},
        {"German thousands", separateDouble(1234.5, QLocale(QLocale::German, QLocale::Germany)), "1.234,5"},
        {"no thousands", separateDouble(999.0, en), "999"}, {"a half", separateDouble(0.5, en), "0.5"},
        {"localized without groups", toLocalizedString(1234567.25, en), "1234567.25"},
        {"localized Russian", toLocalizedString(1234.5, ru), "1234,5"},
        {"localized C", toLocalizedString(-0.125, QLocale::c()), "-0.125"},
        // Arabic-Indic digits: 1 is U+0661, 0 is U+0660.
        {"localized Arabic digits", toLocalizedString(10.0, QLocale("ar_EG")), QString::fromUtf8("\u0661\u0660")},
        {"separate with a fraction", separateThousands("-1234567.891", ',', '.'), "-1,234,567.891"},
        {"separate three digits", separateThousands("123", ',', '.'), "123"},
        {"separate four digits", separateThousands("1234", ',', '.'), "1,234"},
        {"separate a fraction only", separateThousands(".12345", ',', '.'), ".12345"},
        {"separate by a no-break space", separateThousands("1234567,5", nbsp, ','), QString("1") + nbsp + "234" + nbsp + "567,5"},
        {"groups of two", separateThousands("123456", '\'', '.', 2), "12'34'56"},
        {"groups of none", separateThousands("123456", ',', '.', 0), "123456"},
        {"separate nothing", separateThousands("", ',', '.'), ""},
        {"exponent 20", castExponentialFormat("1.5e+20", en, asciiDigit), "150000000000000000000"},
        {"exponent 17", castExponentialFormat("1.23456789012346e+17", en, asciiDigit), "123456789012346000"},
        {"negative exponent form", castExponentialFormat("-2.5e+03", en, asciiDigit), "-2500"},
        {"small exponent", castExponentialFormat("1e-07", en, asciiDigit), "0.0000001"},
        {"Russian exponent", castExponentialFormat("1,5e+20", ru, asciiDigit), "150000000000000000000"},
        {"Russian small exponent", castExponentialFormat("1,25e-2", ru, asciiDigit), "0,0125"},
        {"capital E", castExponentialFormat("12.5E1", en, asciiDigit), "125"},
        {"no exponent", castExponentialFormat("1234.5", en, asciiDigit), "1234.5"},
        {"no number", castExponentialFormat("abc", en, asciiDigit), "abc"},
        {"no exponent digits", castExponentialFormat("1e", en, asciiDigit), "1e"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.actual, row.expected) << row.name;
}
